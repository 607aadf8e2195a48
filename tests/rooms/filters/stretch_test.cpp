#include "oracle/stretch.h"
#include "support/allocation_failure.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <cmath>
#include <ko/filters.h>
#include <ko/threads.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

constexpr auto stretched = static_cast<ResultCode>(1);

struct StretchArgs {
    TestImage src{Layout{.width = 5, .height = 4}};
    TestImage dst{Layout{.width = 7, .height = 3}};
    std::vector<std::uint8_t> before = dst.bytes();

    ResultCode call() { return Stretch(src, dst, InterpolationLinear); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(StretchChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<StretchArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"src without columns", [](auto& a) { a.src->width = 0; }, ResultBadArg1},
        {"src without rows", [](auto& a) { a.src->height = 0; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst of negative height", [](auto& a) { a.dst->height = -3; }, ResultBadArg2},
        {"dst without columns", [](auto& a) { a.dst->width = 0; }, ResultBadArg2},
        {"dst without rows", [](auto& a) { a.dst->height = 0; }, ResultBadArg2},
        {"src of floats", [](auto& a) { a.src->dataType = Float32; }, stretched},
        {"src of signed bytes", [](auto& a) { a.src->dataType = Int8; }, stretched},
        {"src of no type", [](auto& a) { a.src->dataType = typeCode(12); }, stretched},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 4; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 6; }, ResultBadArg2},
        {"dst of negative stride", [](auto& a) { a.dst->stride = -64; }, ResultBadArg2},
    });
}

TEST(StretchChecks, RefuseASourceWithoutChannels)
{
    for (const int channels : {0, -1}) {
        StretchArgs args;
        args.src->channels = channels;
        EXPECT_EQ(args.call(), ResultFailed);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

TEST(StretchChecks, MeasureTheDestinationWithTheSamplesOfTheSource)
{
    StretchArgs args;
    args.dst->dataType = Float64;
    args.dst->channels = 0;
    args.dst->bitsPerSample = -3;
    args.src.fillRandom(1);
    TestImage expected(Layout{.width = 7, .height = 3});
    oracle::stretch<std::uint8_t>(args.src, expected);
    EXPECT_EQ(args.call(), stretched);
    EXPECT_EQ(args.dst.bytes(), expected.bytes());

    TestImage colour(Layout{.width = 5, .height = 4, .channels = 3});
    EXPECT_EQ(Stretch(colour, args.dst, InterpolationLinear), ResultBadArg2);
    TestImage deep(Layout{.width = 5, .height = 4, .type = UInt16});
    EXPECT_EQ(Stretch(deep, args.dst, InterpolationLinear), ResultBadArg2);
    EXPECT_EQ(args.dst.bytes(), expected.bytes());
}

TEST(StretchChecks, FailWithoutMemoryAndLeaveTheDestinationAlone)
{
    struct Size {
        int width, height;
    };
    for (const Size size : {Size{10, 8}, Size{2, 2}, Size{7, 3}}) {
        TestImage src(Layout{.width = size.width == 2 ? 4 : 5, .height = 4});
        TestImage dst(Layout{.width = size.width, .height = size.height});
        const auto before = dst.bytes();
        const AllocationFailure failure(0);
        EXPECT_EQ(Stretch(src, dst, InterpolationLinear), ResultFailed);
        EXPECT_EQ(dst.bytes(), before);
    }
}

template <class T>
std::vector<T> stretchedRow(ExImageDataType type, std::vector<T> row, int width)
{
    TestImage src(Layout{.width = static_cast<int>(row.size()), .height = 1, .type = type});
    for (int x = 0; x < src->width; ++x)
        src.set<T>(x, 0, row[static_cast<std::size_t>(x)]);
    TestImage dst(Layout{.width = width, .height = 1, .type = type});
    EXPECT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
    return dst.all<T>();
}

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

TEST(StretchValues, OfDoublingAreDisplacedByHalfASample)
{
    // One row stays one row: across the rows the weights are 0.2, 0.6, 0.2 of the same row.
    EXPECT_EQ(stretchedRow<std::uint8_t>(UInt8, {0, 255}, 4), (Bytes{0, 0, 63, 191}));
    EXPECT_EQ(stretchedRow<std::uint8_t>(UInt8, {77}, 2), (Bytes{77, 77}));
    EXPECT_EQ(stretchedRow<std::uint16_t>(UInt16, {0, 65535}, 4), (Words{0, 0, 16383, 49151}));
}

TEST(StretchValues, OfDoublingBothWaysAreDisplacedBothWays)
{
    TestImage src(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>({0, 255, 100, 7});
    TestImage dst(Layout{.width = 4, .height = 4});
    ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
    // Rows 0 and 1 repeat the first row; row 2 is (3 * row 0 + row 1) / 4 of the doubled rows
    // {0, 0, 63, 191} and {100, 100, 76, 30}, row 3 the other way round, all truncated.
    EXPECT_EQ(dst.all<std::uint8_t>(),
              (Bytes{0, 0, 63, 191, 0, 0, 63, 191, 25, 25, 66, 150, 75, 75, 72, 70}));
}

TEST(StretchValues, OfTheSameSizeAreBlurred)
{
    // 13106, 39324 and 13106 of 65536.
    EXPECT_EQ(stretchedRow<std::uint8_t>(UInt8, {100, 0, 0, 200}, 4), (Bytes{80, 19, 39, 160}));
    EXPECT_EQ(stretchedRow<std::uint8_t>(UInt8, {255, 255, 255}, 3), (Bytes{255, 255, 255}));
    EXPECT_EQ(stretchedRow<std::uint16_t>(UInt16, {65535, 65535}, 2), (Words{65535, 65535}));
}

TEST(StretchValues, OfHalvingAreTentsAroundTheSecondOfEachPair)
{
    EXPECT_EQ(stretchedRow<std::uint8_t>(UInt8, {10, 20, 33, 45}, 2), (Bytes{20, 42}));
    TestImage src(Layout{.width = 4, .height = 4});
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(y == 1 ? 4 * x : 100));
    TestImage dst(Layout{.width = 2, .height = 2});
    ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
    // Row 1 halved is (0 + 8 + 8) / 4 = 4 and (8 + 24 + 12) / 4 = 11.
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{(100 + 8 + 100) / 4, (100 + 22 + 100) / 4, 100, 100}));
}

TEST(StretchValues, OfReducingAreDisplacedByTheFractionOfTheirCentre)
{
    // On a slope of 64 levels for each pixel, a sample tells where it comes from.
    std::vector<std::uint16_t> slope(1000);
    for (std::size_t x = 0; x < slope.size(); ++x)
        slope[x] = static_cast<std::uint16_t>(64 * x);
    for (const int width : {999, 800, 667, 500, 400, 333, 300, 250, 200, 150, 100, 70}) {
        const double scale = 1000.0 / width;
        const int inputs = static_cast<int>(scale + 2);
        const auto row = stretchedRow<std::uint16_t>(UInt16, slope, width);
        const int margin = static_cast<int>(inputs / scale) + 1;  // beyond, inputs are repeated
        for (int p = margin; p < width - margin; ++p) {
            const double centre = (p + 0.5) * scale;
            const double fraction = centre - std::floor(centre);
            const double moved = inputs % 2 == 0  ? 2 * fraction - 0.5
                                 : fraction < 0.5 ? 2 * fraction
                                                  : 2 * fraction - 1;
            const double from = row[static_cast<std::size_t>(p)] / 64.0 + 0.5;
            ASSERT_NEAR(centre - from, moved, 0.03 + 2.0 / 64) << width << ' ' << p;
        }
    }
}

TEST(StretchValues, AreTheSameForEveryInterpolation)
{
    TestImage src(Layout{.width = 9, .height = 6});
    src.fillRandom(3);
    TestImage expected(Layout{.width = 13, .height = 4});
    oracle::stretch<std::uint8_t>(src, expected);
    for (const int value : {0, 1, 2, -1, 1000}) {
        TestImage dst(Layout{.width = 13, .height = 4});
        ASSERT_EQ(Stretch(src, dst, static_cast<Interpolation>(value)), stretched);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    }
}

TEST(StretchValues, OfAPlanarImageAreThoseOfItsMemoryTakenAsInterleaved)
{
    // Dense planes: the interleaved rows reach over several rows of the plane, and in the destination each
    // row overwrites the end of the one before.
    for (const int width : {6, 12, 24, 17}) {
        TestImage src(Layout{.width = 12, .height = 5, .channels = 3, .packing = Planar, .padding = 0});
        src.fillRandom(static_cast<std::uint32_t>(width));
        const Layout layout{.width = width, .height = 10, .channels = 3, .packing = Planar, .padding = 0};
        TestImage dst(layout), expected(layout);
        oracle::stretch<std::uint8_t>(src, expected);
        ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    }
}

TEST(StretchValues, OfOneSampleFillTheImageAndViceVersa)
{
    TestImage one(Layout{.width = 1, .height = 1, .type = UInt16});
    one.set<std::uint16_t>(0, 0, 54321);
    TestImage many(Layout{.width = 40, .height = 33, .type = UInt16});
    ASSERT_EQ(Stretch(one, many, InterpolationLinear), stretched);
    EXPECT_EQ(many.all<std::uint16_t>(), Words(40 * 33, 54321));
    TestImage back(Layout{.width = 1, .height = 1, .type = UInt16});
    ASSERT_EQ(Stretch(many, back, InterpolationLinear), stretched);
    EXPECT_EQ(back.get<std::uint16_t>(0, 0), 54321);
}

/// Twice the size of an image whose rows hold every pair of bytes: the averages of complemented samples
/// truncate exactly.
TEST(StretchValues, OfDoublingAndHalvingTruncateForEveryPairOfBytes)
{
    TestImage pairs(Layout{.width = 512, .height = 256});
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 512; ++x)
            pairs.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(x % 2 == 0 ? x / 2 : y));
    TestImage doubled(Layout{.width = 1024, .height = 512}),
        expectedDouble(Layout{.width = 1024, .height = 512});
    oracle::stretch<std::uint8_t>(pairs, expectedDouble);
    TestImage halved(Layout{.width = 256, .height = 128}), expectedHalf(Layout{.width = 256, .height = 128});
    oracle::stretch<std::uint8_t>(pairs, expectedHalf);
    forEachTarget([&] {
        ASSERT_EQ(Stretch(pairs, doubled, InterpolationLinear), stretched);
        EXPECT_EQ(doubled.bytes(), expectedDouble.bytes());
        ASSERT_EQ(Stretch(pairs, halved, InterpolationLinear), stretched);
        EXPECT_EQ(halved.bytes(), expectedHalf.bytes());
    });
}

struct Case {
    int width, height, toWidth, toHeight, channels;
    ExImageDataType type;
};

void compareWithTwin(const Case& c)
{
    const int padding = (c.width + c.toWidth) % 4;
    TestImage src(Layout{
        .width = c.width, .height = c.height, .channels = c.channels, .type = c.type, .padding = padding});
    src.fillRandom(static_cast<std::uint32_t>(c.width * 64 + c.toWidth));
    const Layout layout{.width = c.toWidth,
                        .height = c.toHeight,
                        .channels = c.channels,
                        .type = c.type,
                        .padding = 3 - padding};
    TestImage expected(layout);
    if (c.type == UInt8)
        oracle::stretch<std::uint8_t>(src, expected);
    else
        oracle::stretch<std::uint16_t>(src, expected);
    const auto before = src.bytes();
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
        ASSERT_EQ(dst.bytes(), expected.bytes())
            << c.width << " x " << c.height << " to " << c.toWidth << " x " << c.toHeight << ", "
            << c.channels << " channels of type " << c.type;
    });
    ASSERT_EQ(src.bytes(), before);
}

TEST(StretchTargets, EqualTheTwinForEverySmallWidth)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (int width = 1; width <= 40; ++width)
            for (int toWidth = 1; toWidth <= 40; ++toWidth)
                compareWithTwin({width, 3, toWidth, 2, 1, type});
}

TEST(StretchTargets, EqualTheTwinForEverySmallHeight)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (int height = 1; height <= 40; ++height)
            for (int toHeight = 1; toHeight <= 40; ++toHeight)
                compareWithTwin({3, height, 5, toHeight, 1, type});
}

TEST(StretchTargets, EqualTheTwinForEveryChannelCount)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (const int channels : {1, 2, 3, 4, 5, 7})
            for (const int width : {1, 2, 3, 6, 8, 17, 40, 131})
                for (const int toWidth : {1, 3, 4, 12, 16, 20, 34, 65, 133, 262})
                    compareWithTwin({width, 4, toWidth, 5, channels, type});
}

TEST(StretchTargets, EqualTheTwinForDoublingAndHalvingOfEveryWidth)
{
    for (const ExImageDataType type : {UInt8, UInt16}) {
        for (const int channels : {1, 2, 3, 4, 5}) {
            for (int width = 1; width <= 140; width += channels == 1 ? 1 : 3) {
                compareWithTwin({width, 3, 2 * width, 6, channels, type});
                compareWithTwin({2 * width, 6, width, 3, channels, type});
            }
        }
    }
}

TEST(StretchTargets, EqualTheTwinForLargeRatios)
{
    for (const ExImageDataType type : {UInt8, UInt16}) {
        for (const int channels : {1, 3}) {
            compareWithTwin({1000, 7, 3, 90, channels, type});
            compareWithTwin({5, 900, 700, 2, channels, type});
            compareWithTwin({640, 480, 479, 359, channels, type});
            compareWithTwin({300, 220, 409, 301, channels, type});
            compareWithTwin({300, 20, 301, 21, channels, type});
            compareWithTwin({100, 9, 300, 27, channels, type});  // results halfway between two samples
        }
    }
}

/// All samples at the top of the range stay there: weights sum to 65536 and sums do not overflow.
TEST(StretchThreads, GiveTheSameBytesWhereSeveralAreAllowed)
{
    struct Size {
        int width;
        int height;
    };
    for (const ExImageDataType type : {UInt8, UInt16}) {
        for (const Size size :
             {Size{26, 22}, {12, 10}, {6, 5}, {13, 11}, {17, 29}, {7, 3}, {5, 90}, {13, 1}}) {
            for (const ExPixelPacking packing : {Interleaved, Planar}) {
                TestImage src(Layout{.width = 13, .height = 11, .channels = 3, .type = type});
                src.fillRandom(5);
                const Layout layout{.width = size.width,
                                    .height = size.height,
                                    .channels = packing == Planar ? 7 : 3,
                                    .type = type,
                                    .packing = packing};
                TestImage expected(layout);
                ASSERT_EQ(Stretch(src, expected, InterpolationLinear), stretched);
                for (const int threads : {2, 7}) {
                    TestImage dst(layout);
                    const CallThreads allowed(threads);
                    ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
                    EXPECT_TRUE(dst.bytes() == expected.bytes())
                        << size.width << " x " << size.height << " on " << threads;
                }
            }
        }
    }
}

TEST(StretchTargets, KeepTheTopOfTheRange)
{
    forEachTarget([] {
        for (int width = 1; width <= 100; width += 7) {
            TestImage src(Layout{.width = width, .height = 4, .type = UInt16});
            src.fillBytes(0xFF);
            for (int toWidth = 1; toWidth <= 200; toWidth += 9) {
                TestImage dst(Layout{.width = toWidth, .height = 6, .type = UInt16});
                ASSERT_EQ(Stretch(src, dst, InterpolationLinear), stretched);
                ASSERT_EQ(dst.all<std::uint16_t>(), Words(static_cast<std::size_t>(toWidth) * 6, 65535));
            }
        }
    });
}

}  // namespace
}  // namespace ko::test
