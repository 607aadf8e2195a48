#include "base/dispatch.h"
#include "oracle/resize.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/filters.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

struct ResizeArgs {
    TestImage src{Layout{.width = 5, .height = 4, .channels = 3, .type = UInt16}};
    TestImage dst{Layout{.width = 7, .height = 3, .channels = 3, .type = UInt16}};
    std::vector<std::uint8_t> before = dst.bytes();

    ResultCode call() { return Resize(src, dst); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(ResizeChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<ResizeArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"src without columns", [](auto& a) { a.src->width = 0; }, ResultBadArg1},
        {"src without rows", [](auto& a) { a.src->height = 0; }, ResultBadArg1},
        {"src without channels", [](auto& a) { a.src->channels = 0; }, ResultBadArg1},
        {"src planar", [](auto& a) { a.src->packing = Planar; }, ResultBadArg1},
        {"src a mosaic", [](auto& a) { a.src->bayerGrid = BayerRGGB; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst of negative height", [](auto& a) { a.dst->height = -1; }, ResultBadArg2},
        {"dst planar", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg2},
        {"dst a mosaic", [](auto& a) { a.dst->bayerGrid = BayerGBRG; }, ResultBadArg2},
        {"dst of other channels", [](auto& a) { a.dst->channels = 2; }, ResultBadArg2},
        {"dst of another type", [](auto& a) { a.dst->dataType = UInt8; }, ResultBadArg2},
        {"dst of another depth", [](auto& a) { a.dst->bitsPerSample = 12; }, ResultBadArg2},
        {"dst too wide", [](auto& a) { a.dst->width = 0x7FFFFFFF; }, ResultBadArg2},
        {"signed samples", [](auto& a) { a.src->dataType = a.dst->dataType = Int16; }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 29; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 41; }, ResultBadArg2},
    });
}

/// What a record without room for such an image is told: sizes are refused before rows are looked at.
ResultCode statusOf(int width, int height, int wantedWidth, int wantedHeight)
{
    ResizeArgs args;
    args.src->width = width;
    args.src->height = height;
    args.dst->width = wantedWidth;
    args.dst->height = wantedHeight;
    const ResultCode rc = args.call();
    EXPECT_TRUE(args.outputsUntouched());
    return rc;
}

TEST(ResizeChecks, RefuseSizesFromWhichSumsAreNotExact)
{
    constexpr int large = 1 << 17;
    EXPECT_EQ(statusOf(large, large, 1, 1), ResultBadArg1) << "the rows of src are too long";
    EXPECT_EQ(statusOf(large + 1, large, 1, 1), ResultBadArg2);
    EXPECT_EQ(statusOf(large, large + 1, 1, 1), ResultBadArg2);
    EXPECT_EQ(statusOf(1, 1, large / 2 + 1, large / 2), ResultBadArg2);
    EXPECT_EQ(statusOf(1, 1, 0x7FFFFFFF, 0x7FFFFFFF), ResultBadArg2);
    EXPECT_EQ(statusOf(0x7FFFFFFF, 0x7FFFFFFF, 1, 1), ResultBadArg2);
    // A destination without pixels has no sums.
    ResizeArgs args;
    args.dst->width = 0;
    EXPECT_EQ(args.call(), ResultOk);
    args.dst->width = 7;
    args.dst->height = 0;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_TRUE(args.outputsUntouched());
}

TEST(ResizeChecks, FailWithoutMemoryAndLeaveTheDestinationAlone)
{
    for (int successes = 0;; ++successes) {
        ResizeArgs args;
        ResultCode rc = ResultOk;
        {
            const NewFailure failure(successes);
            rc = args.call();
        }
        if (rc == ResultOk) {
            EXPECT_GE(successes, 2);
            break;
        }
        EXPECT_EQ(rc, ResultFailed);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

template <class T>
std::vector<T> resizedRow(ExImageDataType type, const std::vector<T>& row, int width)
{
    TestImage src(Layout{.width = static_cast<int>(row.size()), .height = 1, .type = type});
    for (int x = 0; x < src->width; ++x)
        src.set<T>(x, 0, row[static_cast<std::size_t>(x)]);
    TestImage dst(Layout{.width = width, .height = 1, .type = type});
    EXPECT_EQ(Resize(src, dst), ResultOk);
    return dst.all<T>();
}

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

TEST(ResizeValues, OfLongerRowsLieBetweenTheNearestCentres)
{
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 100}, 4), (Bytes{0, 25, 75, 100}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 30}, 3), (Bytes{0, 15, 30}));
    EXPECT_EQ(resizedRow<std::uint16_t>(UInt16, {65535, 0}, 4), (Words{65535, 49151, 16384, 0}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {77}, 5), (Bytes{77, 77, 77, 77, 77}));
}

TEST(ResizeValues, OfShorterRowsAreMeansOfWhatTheyCover)
{
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 30, 60}, 2), (Bytes{10, 50}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 2, 10, 20, 30}, 1), (Bytes{12}));
    EXPECT_EQ(resizedRow<std::uint16_t>(UInt16, {65535, 65535, 65535, 65534}, 2), (Words{65535, 65535}));
}

TEST(ResizeValues, OfTheSameSizeAreThoseOfTheSource)
{
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 1, 254, 255}, 4), (Bytes{0, 1, 254, 255}));
}

TEST(ResizeValues, AreRoundedToTheNearestHalvesUp)
{
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {254, 255}, 1), (Bytes{255}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 0, 0, 1}, 1), (Bytes{0}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 0, 1, 1}, 1), (Bytes{1}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 0, 1}, 1), (Bytes{0}));
    EXPECT_EQ(resizedRow<std::uint8_t>(UInt8, {0, 1, 1}, 1), (Bytes{1}));
}

TEST(ResizeValues, OfHalvesAreRoundedUpForEveryWidth)
{
    // A product with a rounded reciprocal, such as 1 / 98, may end up just below the whole number that it stands for.
    for (int width = 2; width <= 2000; width += 2) {
        const auto size = static_cast<std::size_t>(width);
        Bytes bytes(size), bright(size, 255);
        Words words(size, 65534);
        for (std::size_t x = 0; x < size; x += 2) {
            bytes[x] = 1;
            bright[x] = 254;
            words[x] = 65535;
        }
        ASSERT_EQ(resizedRow<std::uint8_t>(UInt8, bytes, 1), (Bytes{1})) << width;
        ASSERT_EQ(resizedRow<std::uint8_t>(UInt8, bright, 1), (Bytes{255})) << width;
        ASSERT_EQ(resizedRow<std::uint16_t>(UInt16, words, 1), (Words{65535})) << width;
    }
}

TEST(ResizeValues, StayExactAtTheLargestSizes)
{
    // Two rows that become 4095, and 131072 columns that become one: the weights of a result sum to nearly 2^30.
    constexpr int width = 1 << 17, height = 4095;
    for (const int difference : {-1, 0, 1}) {
        TestImage src(Layout{.width = width, .height = 2, .type = UInt16});
        for (int x = 0; x < width; ++x)
            for (const int y : {0, 1})
                src.set<std::uint16_t>(x, y, x % 2 == 0 ? 65535 : 65534);
        // The mean of row 1 is a half, or one of 131072 parts more or less.
        src.set<std::uint16_t>(
            difference < 0 ? 0 : 1, 1,
            static_cast<std::uint16_t>(difference == 0 ? 65534 : 65534 + (difference > 0)));
        TestImage dst(Layout{.width = 1, .height = height, .type = UInt16});
        ASSERT_EQ(Resize(src, dst), ResultOk);
        // Centres of results are at (2 * y + 1) / height - 1/2: up to row 1023 on that of row 0 or before it.
        for (int y = 0; y < height; ++y)
            ASSERT_EQ(dst.get<std::uint16_t>(0, y), difference < 0 && y > 1023 ? 65534 : 65535) << y;
    }
}

struct Size {
    int width, height;
};

void expectTwins(Layout layout, Size from, Size to, bool sparse = false)
{
    layout.width = from.width;
    layout.height = from.height;
    TestImage src(layout);
    if (sparse)
        src.fillSparse(static_cast<std::uint32_t>(to.width));
    else
        src.fillRandom(static_cast<std::uint32_t>(to.width));
    layout.width = to.width;
    layout.height = to.height;
    TestImage dst(layout);
    TestImage expected(layout);
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::resize<T>(src, expected); });
    ASSERT_EQ(Resize(src, dst), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes())
        << "type " << layout.type << " channels " << layout.channels << ": " << from.width << " x "
        << from.height << " -> " << to.width << " x " << to.height;
}

constexpr Layout formats[] = {
    {.type = UInt8, .padding = 0},
    {.channels = 3, .type = UInt8, .padding = 3},
    {.channels = 4, .type = UInt8, .padding = 0},
    {.type = UInt16, .bits = 12, .padding = 1},
    {.channels = 3, .type = UInt16, .bits = 16, .padding = 0},
    {.channels = 5, .type = UInt16, .bits = 14, .padding = 2},
};

TEST(ResizeTargets, EqualTheTwinForEveryRatioOfShortRows)
{
    forEachTarget([] {
        for (const Layout& format : formats)
            for (int from = 1; from <= 20; ++from)
                for (int to = 1; to <= 40; ++to)
                    expectTwins(format, {from, 3}, {to, 2}, to % 2 == 0);
    });
}

TEST(ResizeTargets, EqualTheTwinForEveryRatioOfColumns)
{
    forEachTarget([] {
        for (int from = 1; from <= 13; ++from)
            for (int to = 1; to <= 26; ++to)
                expectTwins(formats[static_cast<std::size_t>(to) % std::size(formats)], {9, from}, {4, to});
    });
}

TEST(ResizeTargets, EqualTheTwinForRatiosOfLongRows)
{
    forEachTarget([] {
        for (const Layout& format : formats)
            for (const int from : {63, 128, 200, 257})
                for (const int to : {1, 32, 50, 64, 100, 150, 199, 300})
                    expectTwins(format, {from, 4}, {to, 2});
    });
}

TEST(ResizeTargets, EqualTheTwinWhereWeightsAreLarge)
{
    forEachTarget([] {
        for (const Layout& format : formats)
            for (const int to : {61, 97, 101})
                expectTwins(format, {83, 11}, {to, 53});
    });
}

TEST(ResizeTargets, EqualTheTwinForLargerPictures)
{
    forEachTarget([] {
        for (const Layout& format : formats)
            for (int from = 1; from <= 40; from += 3)
                for (int to = from; to <= 100; to += 7)
                    expectTwins(format, {from, 1 + from % 5}, {to, 5 + to % 4}, to % 3 == 0);
    });
}

TEST(ResizeTargets, EqualTheTwinForBytesInLongerRows)
{
    // Several strips of results, and the largest weights that words hold.
    forEachTarget([] {
        for (const int channels : {1, 2, 3, 4, 5, 15, 16}) {
            expectTwins({.channels = channels}, {517, 5}, {4099 / channels + 517, 8});
            expectTwins({.channels = channels}, {64, 7}, {128, 14});
        }
        for (const int to : {16381, 16387})
            expectTwins({}, {17, 5}, {to, 7}, true);
    });
}

TEST(ResizeTargets, RoundHalvesUpWhereWeightsAreLarge)
{
    // The middle column of the result lies between the two in the middle of the source, one of which is higher by one.
    constexpr int from = 100, to = 201;
    forEachTarget([] {
        for (const int level : {0, 1, 2, 127, 128, 253, 254}) {
            TestImage src(Layout{.width = from, .height = from});
            for (int y = 0; y < from; ++y)
                for (int x = 0; x < from; ++x)
                    src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(level + (x < from / 2 ? 1 : 0)));
            TestImage dst(Layout{.width = to, .height = to});
            ASSERT_EQ(Resize(src, dst), ResultOk);
            for (int y = 0; y < to; ++y)
                for (int x = 0; x < to; ++x)
                    ASSERT_EQ(dst.get<std::uint8_t>(x, y), level + (x <= to / 2 ? 1 : 0)) << x << ", " << y;
        }
    });
}

TEST(ResizeTargets, RoundRowsOfHalvesUp)
{
    struct Widths {
        int from, to;
    };
    // Every result is the mean of two rows that differ by one: floats never tell where it is rounded to.
    forEachTarget([] {
        for (const Widths widths : {Widths{7, 4099}, Widths{4100, 1367}, Widths{6000, 199}}) {
            TestImage src(Layout{.width = widths.from, .height = 14});
            src.forEachSample([&](int x, int y, int) {
                src.set<std::uint8_t>(x, y, 0, static_cast<std::uint8_t>(y / 2 * 40 + y % 2));
            });
            TestImage dst(Layout{.width = widths.to, .height = 7});
            ASSERT_EQ(Resize(src, dst), ResultOk);
            dst.forEachSample([&](int x, int y, int) {
                ASSERT_EQ(dst.get<std::uint8_t>(x, y, 0), 40 * y + 1)
                    << x << ", " << y << " of " << widths.to;
            });
        }
    });
}

TEST(ResizeTargets, EqualTheTwinForHalvesAndQuartersOfAnyWidth)
{
    forEachTarget([] {
        for (const Layout& format : formats)
            for (int to = 1; to <= 70; ++to)
                for (const int factor : {2, 4})
                    expectTwins(format, {factor * to, 2 * factor}, {to, 2}, to % 2 == 0);
    });
}

TEST(ResizeTargets, EqualTheTwinForHalvesOfLongRowsAtAnyAddress)
{
    forEachTarget([] {
        for (Layout format : formats)
            for (const int misalignment : {0, 1, 16, 24, 62}) {
                format.misalignment = misalignment;
                expectTwins(format, {1082, 4}, {541, 2}, misalignment != 16);
            }
    });
}

TEST(ResizeThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        expectTwins({.type = UInt16}, {33, 50}, {20, 21});
        expectTwins({.channels = 3}, {12, 9}, {20, 31});
        expectTwins({}, {70, 40}, {90, 61});
        expectTwins({.type = UInt16}, {70, 40}, {140, 80});
        expectTwins({.channels = 3}, {12, 30}, {6, 15});
        expectTwins({.type = UInt16}, {5, 5}, {7, 1});
    });
}

}  // namespace
}  // namespace ko::test
