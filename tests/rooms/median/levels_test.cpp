#include "median/levels.h"

#include "median/level_kernels.h"
#include "oracle/median.h"
#include "rooms/median/work_buffer.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/median.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace ko::test {
namespace {

/// A sample by its place and channel.
using Picture = std::function<int(int x, int y, int channel)>;

int noise(int x, int y, int channel)
{
    return static_cast<int>(std::minstd_rand(static_cast<unsigned>((y * 4099 + x) * 3 + channel + 1))() >>
                            8) %
           256;
}
int flat(int, int, int channel)
{
    return 70 * channel + 7;
}
int slowlyRising(int x, int y, int channel)
{
    return (x / 41 + y / 67 + noise(x, y, channel) % 5 + 90 * channel) % 256;
}
/// Of two values, with specks of the other one.
int twoValues(int x, int y, int channel)
{
    const bool isInside = (x - 80) * (x - 80) + (y - 50) * (y - 50) < 40 * 40;
    return isInside != (noise(x, y, channel) < 12) ? 255 : 0;
}
int fromEndToEnd(int x, int y, int)
{
    return (x * 255 / 63 + y) % 256;
}
/// Patches alike and patches of noise take turns.
int mixed(int x, int y, int channel)
{
    const bool isNoise = (x / medianPatchColumns + y / leastMedianPatchRows) % 2 != 0;
    return isNoise ? noise(x, y, channel) : slowlyRising(x, y, channel);
}

struct Case {
    int radius;
    int width;
    int height;
    int channels = 1;
    int bits = 8;
};

Layout layoutOf(const Case& c)
{
    return {.width = c.width,
            .height = c.height,
            .channels = c.channels,
            .padding = 5 + c.width % 3,
            .misalignment = 1 + c.height % 2};
}

void draw(TestImage& image, const Picture& picture)
{
    image.forEachSample([&](int x, int y, int c) {
        image.set<std::uint8_t>(x, y, c, static_cast<std::uint8_t>(picture(x, y, c)));
    });
}

/// The twin is asked once, every kernel build has to agree with it.
void compareWithTwin(const Case& c, const Picture& picture)
{
    TestImage src(layoutOf(c)), expected(layoutOf(c));
    draw(src, picture);
    src->bitsPerSample = c.bits;
    oracle::median<std::uint8_t>(src, expected, c.radius);
    forEachTarget([&] {
        TestImage dst(layoutOf(c));
        dst->bitsPerSample = c.bits;
        ASSERT_EQ(Median(src, dst, c.radius, nullptr), ResultOk);
        ASSERT_TRUE(dst.bytes() == expected.bytes())
            << "radius " << c.radius << " channels " << c.channels << " bits " << c.bits << " " << c.width
            << " x " << c.height;
    });
}

/// The medians of patches with few levels alone.
struct LevelsAlone {
    TestImage dst;
    MedianPatches patches;

    LevelsAlone(const TestImage& src, const Case& c) : dst(layoutOf(c))
    {
        MedianScratch scratch;
        scratch.reserve(static_cast<std::size_t>(omp_get_max_threads()),
                        levelScratchBytes(src.buf(), c.radius));
        patches.reset(src.buf(), levelPatchRows(c.radius));
        levelMedians(src, dst, c.radius, scratch, patches);
    }
};

/// This processor finds medians by levels.
bool hasKernel(std::int64_t radius)
{
    return radius <= medianLevelKernels().largestRadius;
}

TEST(MedianLevelsTargets, EqualTheTwinFromTheNarrowestImageOn)
{
    const Threads one(1);
    for (const Picture& picture :
         {Picture(flat), Picture(slowlyRising), Picture(twoValues), Picture(fromEndToEnd)})
        for (const int radius : {5, 6, 7, 8, 9, 10, 15, 16, 24})
            for (const int more : {0, 1, 2, 13, 40, 63, 64, 65})
                compareWithTwin({radius, 64 + more, 2 * radius + 1 + more % 9}, picture);
}

TEST(MedianLevelsTargets, EqualTheTwinWhereverABlockEnds)
{
    const Threads one(1);
    for (const int height : {63, 64, 65, 127, 128, 129, 135, 136, 137, 255, 256, 257})
        compareWithTwin({5, 65, height}, slowlyRising);
    for (const int width : {191, 192, 255, 256, 257, 258, 319, 320, 321, 513})
        compareWithTwin({7, width, 15}, slowlyRising);
    compareWithTwin({8, 140, 300}, slowlyRising);
    compareWithTwin({11, 260, 262}, slowlyRising);
}

TEST(MedianLevelsTargets, EqualTheTwinForThreeChannels)
{
    const Threads one(1);
    for (const int radius : {5, 7, 8, 10, 17})
        for (const int width : {64, 67, 130, 257}) {
            compareWithTwin({radius, width, 2 * radius + 3, 3}, slowlyRising);
            compareWithTwin({radius, width, 2 * radius + 3, 3}, twoValues);
        }
}

TEST(MedianLevelsTargets, CutSamplesBeyondTheDepth)
{
    const Threads one(1);
    for (const Picture& picture : {Picture(slowlyRising), Picture(twoValues), Picture(fromEndToEnd)})
        for (const int radius : {6, 12})
            for (int bits = 1; bits <= 8; ++bits)
                compareWithTwin({radius, 70, 27, 1, bits}, picture);
}

TEST(MedianLevelsTargets, EqualTheTwinBesideTheOtherEngines)
{
    const Threads one(1);
    compareWithTwin({5, 1300, 140}, mixed);
    compareWithTwin({5, 520, 260, 3}, mixed);
    compareWithTwin({8, 520, 390}, mixed);
    compareWithTwin({10, 600, 530}, mixed);
}

/// Patches that are left lie among others in any way. All kernel builds have to agree, of which that without vectors
/// leaves everything; the twin is asked for a few samples.
TEST(MedianLevelsTargets, AgreeWhereverPatchesAreLeft)
{
    const Threads one(1);
    for (const int radius : {9, 10, 40}) {
        const Case c{radius, 1300, 900};
        const int patchRows = static_cast<int>(levelPatchRows(radius));
        TestImage src(layoutOf(c));
        draw(src, [&](int x, int y, int) {
            const bool isNoise = noise(x / static_cast<int>(medianPatchColumns), y / patchRows, 1) % 2 != 0;
            return isNoise ? noise(x, y, 0) : slowlyRising(x, y, 0);
        });
        std::vector<std::uint8_t> first;
        forEachTarget([&] {
            TestImage dst(layoutOf(c));
            ASSERT_EQ(Median(src, dst, radius, nullptr), ResultOk);
            if (first.empty())
                first = dst.bytes();
            ASSERT_TRUE(dst.bytes() == first) << radius;
            for (int y = 5; y < c.height; y += 97)
                for (int x = y % 7; x < c.width; x += 61)
                    ASSERT_EQ(dst.get<std::uint8_t>(x, y),
                              oracle::medianAt<std::uint8_t>(src, radius, x, y, 0))
                        << "radius " << radius << " at " << x << ", " << y;
        });
    }
}

/// Compares a few samples only: sorting large windows takes its time.
TEST(MedianLevelsTargets, EqualTheTwinForLargeWindows)
{
    const Threads one(1);
    for (const Picture& picture : {Picture(slowlyRising), Picture(twoValues), Picture(flat)})
        for (const int radius : {31, 32, 33, 63, 64, 95, 96, 126, 127, 128}) {
            const Case c{radius, 2 * radius + 40, 2 * radius + 131};
            TestImage src(layoutOf(c));
            draw(src, picture);
            forEachTarget([&] {
                TestImage dst(layoutOf(c));
                ASSERT_EQ(Median(src, dst, radius, nullptr), ResultOk);
                EXPECT_TRUE(dst.guardsIntact());
                for (int y = 0; y < c.height; y += 1 + c.height / 7)
                    for (int x = y % 3; x < c.width; x += 1 + c.width / 5)
                        ASSERT_EQ(dst.get<std::uint8_t>(x, y),
                                  oracle::medianAt<std::uint8_t>(src, radius, x, y, 0))
                            << "radius " << radius << " at " << x << ", " << y;
            });
        }
}

TEST(MedianLevelsValues, AreFoundWhereAllMediansAreAlikeAndLeftWhereTheyAreNot)
{
    const Threads one(1);
    forEachTarget([] {
        for (const int radius : {5, 8, 10, 64}) {
            if (!hasKernel(radius))
                return;
            const Case c{radius, 300, 300};
            TestImage smooth(layoutOf(c)), wild(layoutOf(c));
            draw(smooth, slowlyRising);
            draw(wild, fromEndToEnd);
            EXPECT_FALSE(LevelsAlone(smooth, c).patches.isAnyLeft()) << radius;
            LevelsAlone left(wild, c);
            EXPECT_EQ(left.patches.nextLeft(0, c.width, 0), (MedianPatches::Run{0, c.width})) << radius;
            EXPECT_EQ(left.dst.bytes(), TestImage(layoutOf(c)).bytes()) << "nothing written";
        }
    });
}

TEST(MedianLevelsValues, AreFoundUpToTheLargestDistanceThatIsFaster)
{
    const Threads one(1);
    for (const int radius : {5, 6, 7, 8, 9, 10, 20, 50})
        for (const int more : {-1, 0, 1, 2}) {
            const Case c{radius, 2 * radius + 64, leastMedianPatchRows};
            int distance = 0;
            const Picture halves = [&](int, int y, int) { return y < c.height / 2 ? 90 : 90 + distance; };
            forEachTarget([&] {
                if (!hasKernel(radius))
                    return;
                distance = static_cast<int>(mostMedianLevels(radius)) + more;
                TestImage src(layoutOf(c));
                draw(src, halves);
                EXPECT_EQ(LevelsAlone(src, c).patches.isAnyLeft(), more > 0) << radius << " " << more;
            });
            if (radius <= 20)
                compareWithTwin(c, halves);
        }
}

TEST(MedianLevelsValues, OfSpecksDoNotCount)
{
    const Threads one(1);
    forEachTarget([] {
        if (!hasKernel(8))
            return;
        const Case c{8, 300, 130};
        TestImage src(layoutOf(c));
        draw(src, [](int x, int y, int channel) { return noise(x, y, channel) < 8 ? 255 : 20; });
        EXPECT_FALSE(LevelsAlone(src, c).patches.isAnyLeft());
    });
}

TEST(MedianLevelsThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        compareWithTwin({5, 530, 270}, mixed);
        compareWithTwin({8, 300, 270, 3}, slowlyRising);
        compareWithTwin({10, 530, 270}, mixed);
    });
}

TEST(MedianPatchRuns, AreWhatIsLeftOfARow)
{
    using Run = MedianPatches::Run;
    MedianPatches patches;
    patches.reset(infoOf(1100, 300), 128);
    EXPECT_EQ(patches.nextLeft(0, 1100, 0), (Run{0, 1100}));
    EXPECT_EQ(patches.count(), 15);
    patches.take(1);
    patches.take(4);
    EXPECT_EQ(patches.at(9).end, 1100);
    EXPECT_EQ(patches.at(14).x, 1024);
    EXPECT_EQ(patches.at(14).bottom, 300);
    EXPECT_EQ(patches.nextLeft(0, 1100, 0), (Run{0, 256}));
    EXPECT_EQ(patches.nextLeft(256, 1100, 127), (Run{512, 1024}));
    EXPECT_EQ(patches.nextLeft(1024, 1100, 0), (Run{1100, 1100}));
    EXPECT_EQ(patches.nextLeft(300, 400, 0), (Run{400, 400}));
    EXPECT_TRUE(patches.isRun({0, 256}, 0, 1100, 0));
    EXPECT_TRUE(patches.isRun({512, 1024}, 0, 1100, 0));
    EXPECT_TRUE(patches.isRun({512, 600}, 100, 600, 0));
    EXPECT_FALSE(patches.isRun({512, 1024}, 0, 1100, 128));
    EXPECT_FALSE(patches.isRun({256, 512}, 0, 1100, 0));
    EXPECT_TRUE(patches.isAnyLeft());
    for (int i = 0; i < patches.count(); ++i)
        patches.take(i);
    EXPECT_FALSE(patches.isAnyLeft());
    EXPECT_EQ(patches.nextLeft(0, 1100, 299), (Run{1100, 1100}));
}

}  // namespace
}  // namespace ko::test
