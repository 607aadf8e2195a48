#include "base/checks.h"
#include "base/dispatch.h"
#include "median/plan.h"
#include "oracle/median.h"
#include "rooms/median/work_buffer.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/median.h>

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace ko::test {
namespace {

constexpr int intMax = std::numeric_limits<int>::max();
constexpr int intMin = std::numeric_limits<int>::min();

struct MedianArgs {
    static constexpr Layout layout{.width = 7, .height = 6, .type = UInt16, .bits = 12};
    TestImage src{layout};
    TestImage dst{layout};
    WorkBuffer made{src.buf(), 2};
    void* buffer = made;
    int radius = 2;
    std::vector<std::uint8_t> before = dst.bytes();

    MedianArgs() { src.fillRandom(1); }
    /// Changes both images alike.
    template <class Change>
    void both(const Change& change)
    {
        change(src.buf());
        change(dst.buf());
    }
    ResultCode call() { return Median(src, dst, radius, buffer); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(MedianChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<MedianArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 6; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 5; }, ResultBadArg2},
        {"dst with more channels", [](auto& a) { a.dst->channels = 3; }, ResultBadArg2},
        {"dst of another depth", [](auto& a) { a.dst->bitsPerSample = 11; }, ResultBadArg2},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int16; }, ResultBadArg2},
        {"dst of another packing", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg2},
        {"negative radius", [](auto& a) { a.radius = -1; }, ResultBadArg3},
        {"window higher than the image", [](auto& a) { a.radius = 3; }, ResultBadArg3},
        {"window wider than the image", [](auto& a) { a.both([](auto& image) { image.width = 4; }); },
         ResultBadArg3},
        {"largest radius", [](auto& a) { a.radius = intMax; }, ResultBadArg3},
        {"smallest radius", [](auto& a) { a.radius = intMin; }, ResultBadArg3},
        {"planar", [](auto& a) { a.both([](auto& image) { image.packing = Planar; }); },
         ResultUnsupportedType},
        {"signed", [](auto& a) { a.both([](auto& image) { image.dataType = Int16; }); },
         ResultUnsupportedType},
        {"float", [](auto& a) { a.both([](auto& image) { image.dataType = Float32; }); },
         ResultUnsupportedType},
        {"type 0", [](auto& a) { a.both([](auto& image) { image.dataType = typeCode(0); }); },
         ResultUnsupportedType},
        {"no bits", [](auto& a) { a.both([](auto& image) { image.bitsPerSample = 0; }); },
         ResultUnsupportedType},
        {"17 bits", [](auto& a) { a.both([](auto& image) { image.bitsPerSample = 17; }); },
         ResultUnsupportedType},
        {"no channels", [](auto& a) { a.both([](auto& image) { image.channels = 0; }); },
         ResultUnsupportedType},
        {"buffer for another width", [](auto& a) { a.made->plan->info.width = 8; }, ResultIncompatible},
        {"buffer for another height", [](auto& a) { a.made->plan->info.height = 7; }, ResultIncompatible},
        {"buffer for more channels", [](auto& a) { a.made->plan->info.channels = 3; }, ResultIncompatible},
        {"buffer for another depth", [](auto& a) { a.made->plan->info.bitsPerSample = 16; },
         ResultIncompatible},
        {"buffer for another mosaic", [](auto& a) { a.made->plan->info.bayerGrid = BayerRGGB; },
         ResultIncompatible},
        {"buffer for another type", [](auto& a) { a.made->plan->info.dataType = UInt8; }, ResultIncompatible},
        {"buffer for another pixel format", [](auto& a) { a.made->plan->info.pixelFormat = 0; },
         ResultIncompatible},
        {"buffer for another packing",
         [](auto& a) { a.made->plan->info.packing = static_cast<ExPixelPacking>(2); }, ResultIncompatible},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 13; }, ResultBadArg1},
    });
    runCheckTable<MedianArgs>({
        {"no channels", [](auto& a) { a.both([](auto& image) { image.channels = 0; }); },
         ResultUnsupportedType},
        {"buffer with counters of 5 bytes", [](auto& a) { a.made->counterWidth = 5; }, ResultUnsupportedType},
        {"buffer with counters of 0 bytes", [](auto& a) { a.made->counterWidth = 0; }, ResultUnsupportedType},
        {"buffer with counters of 3 bytes", [](auto& a) { a.made->counterWidth = 3; }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 13; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 13; }, ResultBadArg2},
    });
}

TEST(MedianChecks, OfTheRadiusAnswerForImagesWithoutPixels)
{
    MedianArgs args;
    args.both([](auto& image) { image.width = 0; });
    args.radius = 0;
    EXPECT_EQ(args.call(), ResultBadArg3);
}

TEST(MedianChecks, LookAtTheFormatOfABufferOnlyWhereItsCountersHaveAKnownWidth)
{
    MedianArgs args;
    args.made->plan->info.width = 8;
    for (const std::uint64_t width : {0U, 3U, 5U, 8U}) {
        args.made->counterWidth = width;
        EXPECT_EQ(args.call(), ResultUnsupportedType) << width;
    }
    EXPECT_TRUE(args.outputsUntouched());
}

TEST(MedianChecks, RefuseFourChannels)
{
    TestImage src(Layout{.width = 5, .height = 5, .channels = 4});
    TestImage dst(Layout{.width = 5, .height = 5, .channels = 4});
    const std::vector<std::uint8_t> before = dst.bytes();
    EXPECT_EQ(Median(src, dst, 1, nullptr), ResultFailed);
    const WorkBuffer buffer(infoOf(5, 5), 1);
    EXPECT_EQ(Median(src, dst, 1, buffer), ResultIncompatible);
    EXPECT_EQ(dst.bytes(), before);
}

TEST(MedianChecks, PassImagesOfTwoOrFiveChannelsWithoutFilteringThem)
{
    for (const int channels : {2, 5}) {
        TestImage src(Layout{.width = 5, .height = 5, .channels = channels});
        TestImage dst(Layout{.width = 5, .height = 5, .channels = channels});
        src.fillRandom(1);
        const std::vector<std::uint8_t> before = dst.bytes();
        EXPECT_EQ(Median(src, dst, 1, nullptr), ResultOk);
        const WorkBuffer buffer(src.buf(), 1);
        EXPECT_EQ(Median(src, dst, 1, buffer), ResultOk);
        EXPECT_EQ(dst.bytes(), before);
    }
}

TEST(MedianChecks, RefuseABufferWhoseCountersOrStripsAreTooSmall)
{
    const Threads two(2);
    const SxImageInfo info = infoOf(64, 20);
    TestImage src(Layout{.width = 64, .height = 20});
    TestImage dst(Layout{.width = 64, .height = 20});
    const std::vector<std::uint8_t> before = dst.bytes();
    const WorkBuffer made(info, 1);
    ASSERT_EQ(made->plan->strips.size(), 2U);
    EXPECT_EQ(Median(src, dst, 2, made), ResultIncompatible) << "strips too narrow";
    const Threads one(1);
    const WorkBuffer single(info, 7);
    EXPECT_EQ(Median(src, dst, 8, single), ResultIncompatible) << "counters too small";
    EXPECT_EQ(dst.bytes(), before);
}

struct AllocArgs {
    SxImageInfo info = infoOf(7, 6, UInt16, 12);
    int radius = 2;
    void* const none = &info;
    void* buffer = none;

    ~AllocArgs()
    {
        if (buffer != none)
            MedianFreeBuffer(buffer);
    }
    ResultCode call() { return MedianAllocBuffer(info, radius, &buffer); }
    bool outputsUntouched() const { return buffer == none; }
};

TEST(MedianAllocBufferChecks, RunInOrderAndLeaveThePointerAlone)
{
    runCheckTable<AllocArgs>({
        {"no columns", [](auto& a) { a.info.width = 0; }, ResultBadArg1},
        {"no rows", [](auto& a) { a.info.height = 0; }, ResultBadArg1},
        {"negative width", [](auto& a) { a.info.width = -7; }, ResultBadArg1},
        {"four channels", [](auto& a) { a.info.channels = 4; }, ResultBadArg1},
        {"signed", [](auto& a) { a.info.dataType = Int16; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.info.dataType = typeCode(0); }, ResultUnsupportedType},
        {"planar", [](auto& a) { a.info.packing = Planar; }, ResultUnsupportedType},
        {"no bits", [](auto& a) { a.info.bitsPerSample = 0; }, ResultUnsupportedType},
        {"17 bits", [](auto& a) { a.info.bitsPerSample = 17; }, ResultUnsupportedType},
        {"no channels", [](auto& a) { a.info.channels = 0; }, ResultUnsupportedType},
        {"window wider than the image", [](auto& a) { a.radius = 4; }, ResultBadArg2},
        {"negative radius", [](auto& a) { a.radius = -1; }, ResultBadArg2},
        {"largest radius", [](auto& a) { a.radius = intMax; }, ResultBadArg2},
        {"smallest radius", [](auto& a) { a.radius = intMin; }, ResultBadArg2},
    });
}

TEST(MedianAllocBufferChecks, DoNotLookAtTheHeight)
{
    AllocArgs args;
    args.info.height = 1;
    args.radius = 3;
    EXPECT_EQ(args.call(), ResultOk);
}

TEST(MedianAllocBufferChecks, RefuseToGiveTheBufferToNobody)
{
    EXPECT_EQ(MedianAllocBuffer(infoOf(7, 6), 2, nullptr), ResultBadArg3);
    EXPECT_EQ(MedianAllocBuffer(infoOf(7, 6), 4, nullptr), ResultBadArg2);
}

TEST(MedianFreeBufferChecks, AllowNull)
{
    MedianFreeBuffer(nullptr);
}

TEST(MedianValues, OfACornerAreTheLowerMiddleAndOfTheCentreTheMiddle)
{
    TestImage src(Layout{.width = 3, .height = 3});
    TestImage dst(Layout{.width = 3, .height = 3});
    src.setAll<std::uint8_t>({1, 2, 9, 3, 4, 8, 7, 6, 5});
    ASSERT_EQ(Median(src, dst, 1, nullptr), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (std::vector<std::uint8_t>{2, 3, 4, 3, 5, 5, 4, 5, 5}));
}

TEST(MedianValues, OfRadiusZeroAreTheSamplesCutToTheirDepth)
{
    TestImage src(Layout{.width = 3, .height = 2, .channels = 3, .type = UInt16, .bits = 10});
    TestImage dst(Layout{.width = 3, .height = 2, .channels = 3, .type = UInt16, .bits = 10});
    src.setAll<std::uint16_t>({0, 1, 2, 1022, 1023, 1024, 65535, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17});
    ASSERT_EQ(Median(src, dst, 0, nullptr), ResultOk);
    EXPECT_EQ(dst.all<std::uint16_t>(), (std::vector<std::uint16_t>{0, 1, 2, 1022, 1023, 1023, 1023, 7, 8, 9,
                                                                    10, 11, 12, 13, 14, 15, 16, 17}));
}

TEST(MedianValues, AreRefusedForAWindowOfSevenInAnImageOfFive)
{
    TestImage src(Layout{.width = 5, .height = 9});
    TestImage dst(Layout{.width = 5, .height = 9});
    EXPECT_EQ(Median(src, dst, 3, nullptr), ResultBadArg3);
    void* buffer = nullptr;
    EXPECT_EQ(MedianAllocBuffer(src.buf(), 3, &buffer), ResultBadArg2);
    EXPECT_EQ(buffer, nullptr);
}

enum class Pattern { Random, Ramp, Sparse, Flat, Stripes };
constexpr Pattern allPatterns[] = {Pattern::Random, Pattern::Ramp, Pattern::Sparse, Pattern::Flat,
                                   Pattern::Stripes};

/// All bits of the container are in use, whatever the depth.
void fill(TestImage& image, Pattern pattern)
{
    image.fillRandom(static_cast<std::uint32_t>(image->width * 131 + image->height));
    if (pattern == Pattern::Random)
        return;
    if (pattern == Pattern::Sparse) {
        image.fillSparse(static_cast<std::uint32_t>(image->width));
        return;
    }
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, image->dataType, {}, [&]<class T>(std::type_identity<T>) {
        image.forEachSample([&](int x, int y, int c) {
            const int noise = image.get<T>(x, y, c) % 8;
            const int scale = sizeof(T) == 1 ? 1 : 40;
            if (pattern == Pattern::Ramp)
                image.set<T>(x, y, c, static_cast<T>((x + y + 50 * c) * scale + noise));
            else if (pattern == Pattern::Flat)
                image.set<T>(x, y, c, static_cast<T>(200));
            else
                image.set<T>(x, y, c, (x / 3 + y / 5) % 2 == 0 ? std::numeric_limits<T>::max() : T{0});
        });
    });
}

struct Case {
    ExImageDataType type;
    int channels;
    int bits;
    int radius;
    int width;
    int height;
    Pattern pattern = Pattern::Random;
};

Layout layoutOf(const Case& c)
{
    return {.width = c.width,
            .height = c.height,
            .channels = c.channels,
            .type = c.type,
            .padding = 3 + c.width % 2,
            .misalignment = 1 + c.height % 2};
}

/// The twin is asked once, every kernel build has to agree with it.
void compareWithTwin(TestImage& src, const Case& c, void* buffer = nullptr)
{
    TestImage expected(layoutOf(c));
    src->bitsPerSample = c.bits;
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, c.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::median<T>(src, expected, c.radius); });
    forEachTarget([&] {
        TestImage dst(layoutOf(c));
        dst->bitsPerSample = c.bits;
        ASSERT_EQ(Median(src, dst, c.radius, buffer), ResultOk);
        ASSERT_TRUE(dst.bytes() == expected.bytes())
            << "type " << c.type << " channels " << c.channels << " bits " << c.bits << " radius " << c.radius
            << " " << c.width << " x " << c.height << " pattern " << static_cast<int>(c.pattern);
    });
}

void compareWithTwin(const Case& c, void* buffer = nullptr)
{
    TestImage src(layoutOf(c));
    fill(src, c.pattern);
    compareWithTwin(src, c, buffer);
}

/// Containers of one and three channels.
template <class Body>
void forEachContainer(const Body& body)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (const int channels : {1, 3})
            body(type, channels, type == UInt8 ? 8 : 16);
}

TEST(MedianTargets, EqualTheTwinFromTheSmallestImageOnForEveryRadius)
{
    const Threads one(1);
    forEachContainer([](ExImageDataType type, int channels, int bits) {
        for (int radius = 0; radius <= 11; ++radius)
            for (const int more : {0, 1, 2, 5, 16, 40})
                compareWithTwin(
                    {type, channels, bits, radius, 2 * radius + 1 + more, 2 * radius + 1 + more % 7});
    });
}

TEST(MedianTargets, EqualTheTwinForEveryWidth)
{
    const Threads one(1);
    for (const ExImageDataType type : {UInt8, UInt16})
        for (const int radius : {1, 2, 3, 4, 8, 10})
            for (int width = 2 * radius + 1; width <= 150; ++width)
                compareWithTwin({type, 1, type == UInt8 ? 8 : 16, radius, width, 2 * radius + 2});
}

TEST(MedianTargets, EqualTheTwinForEveryHeightAndPlaceInATile)
{
    const Threads one(1);
    forEachContainer([](ExImageDataType type, int channels, int bits) {
        for (int radius = 3; radius <= 9; ++radius)
            for (int more = 0; more <= 2 * radius + 4; ++more)
                compareWithTwin(
                    {type, channels, bits, radius, 2 * radius + 1 + more / 2, 2 * radius + 1 + more});
    });
}

TEST(MedianTargets, EqualTheTwinAcrossTheJointsOfPieces)
{
    const Threads one(1);
    for (const int radius : {3, 4, 5, 6, 7, 8, 9})
        for (const int more : {0, 1, 4, 13}) {
            compareWithTwin({UInt8, 1, 8, radius, 1024 + more, 2 * radius + 3});
            compareWithTwin({UInt16, 1, 16, radius, 512 + more, 2 * radius + 3});
            compareWithTwin({UInt16, 3, 12, radius, 512 + more, 2 * radius + 3, Pattern::Ramp});
        }
}

TEST(MedianTargets, EqualTheTwinAcrossTheJointsOfBlocks)
{
    const Threads one(1);
    forEachContainer([](ExImageDataType type, int channels, int bits) {
        for (const int radius : {1, 2, 3, 6, 8, 10})
            compareWithTwin({type, channels, bits, radius, 301 / channels, 83});
    });
    compareWithTwin({UInt8, 1, 8, 10, 1030, 22});
    compareWithTwin({UInt8, 3, 8, 10, 1030, 22});
    compareWithTwin({UInt16, 1, 16, 10, 22, 1030});
    const Case deep{UInt16, 1, 12, 10, 22, 1030};
    TestImage src(layoutOf(deep));
    fill(src, deep.pattern);
    src.forEachSample(
        [&](int x, int y, int) { src.set<std::uint16_t>(x, y, 0, src.get<std::uint16_t>(x, y) % 5000); });
    compareWithTwin(src, deep);
}

TEST(MedianTargets, EqualTheTwinForEveryPatternOfSamples)
{
    const Threads one(1);
    forEachContainer([](ExImageDataType type, int channels, int bits) {
        for (const Pattern pattern : allPatterns)
            for (const int radius : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10})
                compareWithTwin({type, channels, bits, radius, 70, 21, pattern});
    });
}

TEST(MedianTargets, CutSamplesBeyondTheDepth)
{
    const Threads one(1);
    for (const int radius : {1, 2, 3, 5, 8, 10}) {
        for (int bits = 1; bits <= 8; ++bits)
            compareWithTwin({UInt8, 1, bits, radius, 40, 21});
        for (int bits = 1; bits <= 16; ++bits)
            compareWithTwin({UInt16, 1, bits, radius, 40, 21});
    }
}

TEST(MedianTargets, EqualTheTwinWhereDeepSamplesLieAsCloseTogetherAsCodesReach)
{
    const Threads one(1);
    for (const int range : {4094, 4095, 4096, 4097})
        for (const int least : {0, 1, 30000, 65535 - range}) {
            const Case c{UInt16, 1, 16, 10, 60, 30};
            TestImage src(layoutOf(c));
            fill(src, c.pattern);
            src.forEachSample([&](int x, int y, int) {
                const int value = src.get<std::uint16_t>(x, y);
                const int offset = value % 3 == 0 ? 0 : value % 3 == 1 ? range : value % (range + 1);
                src.set<std::uint16_t>(x, y, 0, static_cast<std::uint16_t>(least + offset));
            });
            compareWithTwin(src, c);
        }
}

/// Compares a few samples only: sorting large windows takes its time.
void compareSomeWithTwin(const Case& c)
{
    const Layout layout{.width = c.width, .height = c.height, .channels = c.channels, .type = c.type};
    TestImage src(layout), dst(layout);
    fill(src, c.pattern);
    for (TestImage* image : {&src, &dst})
        image->buf().bitsPerSample = c.bits;
    ASSERT_EQ(Median(src, dst, c.radius, nullptr), ResultOk);
    EXPECT_TRUE(dst.guardsIntact());
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, c.type, {}, [&]<class T>(std::type_identity<T>) {
        for (int y = 0; y < c.height; y += 1 + c.height / 5)
            for (int x = y % 3; x < c.width; x += 1 + c.width / 5)
                ASSERT_EQ(dst.get<T>(x, y), oracle::medianAt<T>(src, c.radius, x, y, 0))
                    << "type " << c.type << " radius " << c.radius << " at " << x << ", " << y;
    });
}

TEST(MedianTargets, EqualTheTwinForLargeWindows)
{
    const Threads one(1);
    forEachTarget([] {
        for (const auto& [type, bits] : {std::pair{UInt8, 8}, {UInt16, 12}, {UInt16, 16}})
            for (const int radius : {12, 20, 63, 64, 65, 127})
                compareSomeWithTwin(
                    {type, 1, bits, radius, 2 * radius + (radius == 64 ? 140 : 33), 2 * radius + 5});
        compareSomeWithTwin({UInt16, 1, 16, 127, 400, 400});
    });
}

TEST(MedianTargets, EqualTheTwinForCountersOfFourBytes)
{
    const Threads one(1);
    forEachTarget([] {
        compareSomeWithTwin({UInt8, 1, 8, 128, 258, 257});
        compareSomeWithTwin({UInt16, 1, 16, 128, 257, 258});
    });
}

TEST(MedianThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const int radius : {1, 2, 3, 6, 9, 10})
                compareWithTwin({type, 3, 8, radius, 200, 30});
    });
}

TEST(MedianThreads, GiveTheSameBytesWhereverABandEnds)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const int radius : {0, 1, 2, 3, 4, 7})
                for (const int height : {63, 64, 65, 66, 67, 127, 128, 130, 193})
                    compareWithTwin({type, 1, 8, radius, 2 * radius + 4, height});
    });
}

TEST(MedianBuffers, ServeCallAfterCallWithAnyNumberOfThreads)
{
    const Case base{UInt16, 1, 12, 10, 90, 40};
    const Threads three(3);
    const WorkBuffer made(infoOf(90, 40, UInt16, 12), 10);
    forEachThreadCount([&] {
        for (const Pattern pattern : allPatterns) {
            Case c = base;
            c.pattern = pattern;
            compareWithTwin(c, made);
        }
    });
}

TEST(MedianBuffers, ServeSmallerWindowsAndLargerOnesThatTheyHaveRoomFor)
{
    const Threads one(1);
    const WorkBuffer made(infoOf(90, 40, UInt16, 16), 4);
    for (const int radius : {0, 1, 2, 3, 4, 5, 7})
        compareWithTwin({UInt16, 1, 16, radius, 90, 40}, made);
    const WorkBuffer wide(infoOf(90, 40, UInt16, 16), 8);
    for (const int radius : {3, 7, 8, 9, 12})
        compareWithTwin({UInt16, 1, 16, radius, 90, 40}, wide);
}

TEST(MedianMemory, RunningOutIsAFailureThatLeavesNothingBehind)
{
    TestImage src(Layout{.width = 60, .height = 30, .type = UInt16});
    TestImage dst(Layout{.width = 60, .height = 30, .type = UInt16});
    const std::vector<std::uint8_t> before = dst.bytes();
    ResultCode rc = ResultFailed;
    int failures = 0;
    for (int granted = 0; rc == ResultFailed; ++granted) {
        ASSERT_EQ(dst.bytes(), before);
        bool struck = false;
        {
            const NewFailure failure(granted);
            rc = Median(src, dst, 10, nullptr);
            struck = NewFailure::hasStruck();
        }
        failures += rc == ResultFailed ? 1 : 0;
        ASSERT_EQ(rc == ResultFailed, struck);
    }
    EXPECT_EQ(rc, ResultOk);
    EXPECT_GE(failures, 4);
}

TEST(MedianMemory, ForWindowsThatNobodyCanCountIsRefused)
{
    void* buffer = nullptr;
    EXPECT_EQ(MedianAllocBuffer(infoOf(intMax, intMax), intMax / 2, &buffer), ResultFailed);
    EXPECT_EQ(buffer, nullptr);
}

}  // namespace
}  // namespace ko::test
