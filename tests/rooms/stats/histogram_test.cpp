#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"
#include "support/failing_new.h"

#include <ko/stats/histogram.h>
#include <ko/threads.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ko::test {
namespace {

using namespace spoil;

struct WholeArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, hist); }
};
struct RegionArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, roi, hist); }
};
struct ChannelArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, channel, hist, plane); }
};
struct RegionChannelArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, roi, channel, hist, plane); }
};
struct PointsArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, pos, offsets, hist); }
};
struct PointsChannelArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, pos, offsets, channel, hist, plane); }
};
struct StencilArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, stencil, pos, hist); }
};
struct StencilChannelArgs : HistogramArgs {
    ResultCode call() { return Histogram(src, stencil, pos, channel, hist, plane); }
};

TEST(HistogramChecks, OfTheWholeImageNumberTheHistogramAsWithARegion)
{
    runCheckTable<WholeArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src of negative height", srcNegative, ResultBadArg1},
        {"src of the most negative size", srcMostNegative, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"src signed", srcSigned, ResultBadArg1},
        {"src of 4 bytes", srcWide, ResultBadArg1},
        {"src of no type", srcUnknownType, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"no bins", noBins, ResultBadArg3},
        {"no planes", noPlanes, ResultBadArg3},
        {"few levels", fewLevels, ResultBadArg3},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramChecks, OfARegionRunInOrder)
{
    runCheckTable<RegionArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src signed", srcSigned, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"roi", roiOutside, ResultBadArg2},
        {"no bins", noBins, ResultBadArg3},
        {"no planes", noPlanes, ResultBadArg3},
        {"few levels", fewLevels, ResultBadArg3},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramChecks, OfOneChannelNumberItAsWithARegion)
{
    runCheckTable<ChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"channel beyond", channelBeyond, ResultBadArg3},
        {"no bins", noBins, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"plane beyond", planeBeyond, ResultBadArg5},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramChecks, OfOneChannelOfARegionRunInOrder)
{
    runCheckTable<RegionChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src of 4 bytes", srcWide, ResultBadArg1},
        {"roi", roiOutside, ResultBadArg2},
        {"channel beyond", channelBeyond, ResultBadArg3},
        {"channel negative", channelNegative, ResultBadArg3},
        {"no bins", noBins, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"plane beyond", planeBeyond, ResultBadArg5},
        {"plane negative", planeNegative, ResultBadArg5},
        {"no planes", noPlanes, ResultBadArg5},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramChecks, OfPointsRunInOrder)
{
    runCheckTable<PointsArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src signed", srcSigned, ResultBadArg1},
        {"origin beyond", posOutside, ResultBadArg2},
        {"origin negative", posNegative, ResultBadArg2},
        {"no bins", noBins, ResultBadArg4},
        {"other planes", otherPlanes, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramChecks, OfOneChannelOfPointsDoNotAskWhetherTheChannelExists)
{
    runCheckTable<PointsChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"origin beyond", posOutside, ResultBadArg2},
        {"channel negative", channelNegative, ResultBadArg4},
        {"no bins", noBins, ResultBadArg5},
        {"other planes", otherPlanes, ResultBadArg5},
        {"few levels", fewLevels, ResultBadArg5},
        {"plane beyond", planeBeyond, ResultBadArg6},
        {"plane negative", planeNegative, ResultBadArg6},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
    PointsChannelArgs args;
    args.channel = 3;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_TRUE(args.outputsUntouched());
}

TEST(HistogramChecks, OfAStencilRunInOrder)
{
    runCheckTable<StencilArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"stencil absent", stencilAbsent, ResultBadArg2},
        {"stencil of 3 channels", stencilChannels, ResultBadArg2},
        {"stencil UInt16", stencilType, ResultBadArg2},
        {"pos beyond", posOutside, ResultBadArg3},
        {"stencil too wide", stencilWide, ResultBadArg2},
        {"stencil too high", stencilHigh, ResultBadArg2},
        {"stencil leaves", stencilLeaves, ResultBadArg3},
        {"no bins", noBins, ResultBadArg4},
        {"other planes", otherPlanes, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"stencil rows beyond their stride", stencilRows, ResultBadArg2},
    });
}

TEST(HistogramChecks, OfOneChannelOfAStencilRunInOrder)
{
    runCheckTable<StencilChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"stencil absent", stencilAbsent, ResultBadArg2},
        {"stencil UInt16", stencilType, ResultBadArg2},
        {"pos negative", posNegative, ResultBadArg3},
        {"stencil too wide", stencilWide, ResultBadArg2},
        {"stencil leaves", stencilLeaves, ResultBadArg3},
        {"channel beyond", channelBeyond, ResultBadArg4},
        {"channel negative", channelNegative, ResultBadArg4},
        {"no bins", noBins, ResultBadArg5},
        {"other planes", otherPlanes, ResultBadArg5},
        {"few levels", fewLevels, ResultBadArg5},
        {"plane beyond", planeBeyond, ResultBadArg6},
        {"plane negative", planeNegative, ResultBadArg6},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"stencil rows beyond their stride", stencilRows, ResultBadArg2},
    });
}

TEST(HistogramValues, AreAddedToTheCountsAlreadyThere)
{
    TestImage src(Layout{.width = 3, .height = 2, .bits = 4});
    src.setAll<std::uint8_t>({0, 1, 1, 15, 15, 15});
    CxImageHistogram hist;
    hist.resize(1, 16, 0);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_EQ(hist.bins[0][0], 2U);
    EXPECT_EQ(hist.bins[0][1], 4U);
    EXPECT_EQ(hist.bins[0][2], 0U);
    EXPECT_EQ(hist.bins[0][15], 6U);
}

TEST(HistogramValues, CountNoiseThatTurnsIntoAFlatArea)
{
    TestImage src(Layout{.width = 601, .height = 300, .padding = 3});
    src.fillRandom(7);
    for (int y = 200; y < 300; ++y)
        for (int x = 0; x < 601; ++x)
            src.set<std::uint8_t>(x, y, 0, y < 250 ? 17 : 255);
    std::array<std::uint32_t, 256> expected{};
    src.forEachSample([&](int x, int y, int c) { ++expected[src.get<std::uint8_t>(x, y, c)]; });
    CxImageHistogram hist;
    hist.resize(1, 256, 0);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), hist.bins[0]));
}

/// Rows of one value with one other sample, at a position that moves on from row to row, below some rows of
/// noise.
template <class T>
void expectOddOnesOutCounted(int noisyRows)
{
    TestImage src(Layout{.width = 601, .height = 300, .type = sizeof(T) == 1 ? UInt8 : UInt16, .padding = 3});
    src.fillRandom(7);
    for (int y = noisyRows; y < 300; ++y)
        for (int x = 0; x < 601; ++x)
            src.set<T>(x, y, 0, static_cast<T>(x == 64 + y ? y : 17));
    std::vector<std::uint32_t> expected(std::size_t{1} << 8 * sizeof(T));
    src.forEachSample([&](int x, int y, int c) { ++expected[src.get<T>(x, y, c)]; });
    CxImageHistogram hist;
    hist.resize(1, static_cast<int>(expected.size()), 0);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), hist.bins[0]));
}

TEST(HistogramValues, CountTheOddOneOutOfAFlatRow)
{
    expectOddOnesOutCounted<std::uint8_t>(0);
    expectOddOnesOutCounted<std::uint8_t>(200);
    expectOddOnesOutCounted<std::uint16_t>(0);
}

TEST(HistogramValues, WrapSilently)
{
    TestImage src(Layout{.width = 3, .height = 1});
    LooseHistogram hist(1, 256);
    hist.at(0, 0) = 0xFFFFFFFEU;
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 1U);
}

TEST(HistogramValues, OfMoreLevelsThanTheImageNeedsAreAccepted)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = UInt16, .bits = 12});
    src.setAll<std::uint16_t>({4095, 7});
    LooseHistogram hist(1, 5000);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 4095), 1U);
    EXPECT_EQ(hist.at(0, 7), 1U);
}

TEST(HistogramValues, LeaveSamplesBeyondTheLevelsOut)
{
    TestImage src(Layout{.width = 4, .height = 1, .type = UInt16, .bits = 12});
    src.setAll<std::uint16_t>({4096, 65535, 4095, 4097});
    LooseHistogram hist(1, 4096);
    ASSERT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 4095), 1U);
    EXPECT_TRUE(hist.guardsIntact());
}

TEST(HistogramValues, OfNegativeBitsNeedNoLevels)
{
    TestImage src(Layout{.width = 2, .height = 1});
    src->bitsPerSample = std::numeric_limits<int>::min();
    LooseHistogram hist(1, 0);
    EXPECT_EQ(Histogram(src, hist), ResultOk);
    EXPECT_TRUE(hist.guardsIntact());
}

TEST(HistogramValues, CountOnlyThePlanesThatTheHistogramHas)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 3});
    src.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6});
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage image(Layout{.width = 2, .height = 1, .channels = 3, .packing = packing});
        image.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6});
        LooseHistogram two(2, 256);
        ASSERT_EQ(Histogram(image, two), ResultOk);
        EXPECT_EQ(two.at(0, 1) + two.at(0, 4) + two.at(1, 2) + two.at(1, 5), 4U);
        EXPECT_EQ(two.at(0, 3) + two.at(1, 3), 0U);
        LooseHistogram five(5, 256);
        ASSERT_EQ(Histogram(image, five), ResultOk);
        EXPECT_EQ(five.at(2, 3) + five.at(2, 6), 2U);
        EXPECT_EQ(five.at(3, 0), 0U);
    }
}

TEST(HistogramValues, OfContradictoryHistogramsAreHarmless)
{
    TestImage src(Layout{.width = 2, .height = 1});
    LooseHistogram negativePlanes(1, 256);
    negativePlanes->planes = -3;
    EXPECT_EQ(Histogram(src, negativePlanes), ResultOk);
    EXPECT_TRUE(negativePlanes.holds(0));
    LooseHistogram missingRow(1, 256);
    missingRow->bins[0] = nullptr;
    EXPECT_EQ(Histogram(src, missingRow), ResultOk);
    EXPECT_EQ(Histogram(src, 0, missingRow, 0), ResultOk);
    LooseHistogram negativeLevels(1, 256);
    negativeLevels->levels = -1;
    EXPECT_EQ(Histogram(src, negativeLevels), ResultBadArg3);
}

TEST(HistogramValues, OfNoPixelsAreNone)
{
    HistogramArgs a;
    EXPECT_EQ(Histogram(a.src, QRect(), a.hist), ResultOk);
    EXPECT_EQ(Histogram(a.src, QRect(2, 2, 0, 3), 1, a.hist, 1), ResultOk);
    EXPECT_EQ(Histogram(a.src, a.pos, {}, a.hist), ResultOk);
    EXPECT_EQ(Histogram(a.src, a.stencil, a.pos, a.hist), ResultOk);
    TestImage empty(Layout{.width = 0, .height = 4, .channels = 3});
    EXPECT_EQ(Histogram(empty, a.hist), ResultOk);
    EXPECT_TRUE(a.outputsUntouched());
}

TEST(HistogramValues, OfARegionThatSticksOutAreRefused)
{
    HistogramArgs a;
    EXPECT_EQ(Histogram(a.src, QRect(-1, 0, 3, 3), a.hist), ResultBadArg2);
    EXPECT_EQ(Histogram(a.src, QRect(0, 3, 3, 3), a.hist), ResultBadArg2);
    EXPECT_EQ(Histogram(a.src, QRect(3, 2, 3, 3), a.hist), ResultOk);
}

TEST(HistogramValues, OfPointsCountDuplicatesAndLeaveOutWhatLiesOutside)
{
    TestImage src(Layout{.width = 4, .height = 3});
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(10 * y + x));
    LooseHistogram hist(1, 256);
    constexpr int most = std::numeric_limits<int>::max();
    const QList<QPoint> offsets{{0, 0}, {0, 0}, {1, -1}, {2, 2}, {-3, 0}, {most, most}, {-2, 1}};
    ASSERT_EQ(Histogram(src, QPoint(2, 1), offsets, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 12), 2U);
    EXPECT_EQ(hist.at(0, 3), 1U);
    EXPECT_EQ(hist.at(0, 20), 1U);
    ASSERT_EQ(Histogram(src, QPoint(2, 1), offsets, 0, hist, 0), ResultOk);
    EXPECT_EQ(hist.at(0, 12), 4U);
    EXPECT_EQ(hist.at(0, 3), 2U);
    EXPECT_EQ(hist.at(0, 20), 2U);
    std::uint32_t all = 0;
    for (int v = 0; v < 256; ++v)
        all += hist.at(0, v);
    EXPECT_EQ(all, 8U);
}

TEST(HistogramValues, OfAStencilCountWhereItIsNotZero)
{
    TestImage src(Layout{.width = 4, .height = 3});
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(10 * y + x));
    TestImage stencil(Layout{.width = 2, .height = 2});
    stencil.setAll<std::uint8_t>({0, 1, 255, 0});
    LooseHistogram hist(1, 256);
    ASSERT_EQ(Histogram(src, stencil, QPoint(2, 1), hist), ResultOk);
    EXPECT_EQ(hist.at(0, 13), 1U);
    EXPECT_EQ(hist.at(0, 22), 1U);
    EXPECT_EQ(hist.at(0, 12) + hist.at(0, 23), 0U);
}

TEST(HistogramValues, OfChannelsWithoutEndTakeNoMemory)
{
    HistogramArgs a;
    a.src->channels = std::numeric_limits<int>::max();
    EXPECT_EQ(Histogram(a.src, a.hist), ResultBadArg1);
    EXPECT_EQ(Histogram(a.src, 3, a.hist, 0), ResultBadArg1);
    a.src->width = 0;
    EXPECT_EQ(Histogram(a.src, a.hist), ResultOk);
    EXPECT_TRUE(a.outputsUntouched());
    // One pixel per plane, of which only three are looked at.
    TestImage planar(Layout{.width = 1, .height = 1, .channels = 3, .packing = Planar, .padding = 0});
    planar->channels = std::numeric_limits<int>::max();
    ASSERT_EQ(Histogram(planar, a.hist), ResultOk);
    EXPECT_EQ(a.hist.at(2, 0), 10U);
}

/// How many allocations an operation makes that touches nothing when one of them fails.
template <class Call>
int allocationsOf(LooseHistogram& hist, const Call& call)
{
    for (int successes = 0;; ++successes) {
        ResultCode rc;
        {
            const NewFailure failure(successes);
            rc = call();
        }
        if (rc == ResultOk)
            return successes;
        EXPECT_EQ(rc, ResultFailed);
        if (!hist.holds(0)) {
            ADD_FAILURE() << "touched after " << successes;
            return successes;
        }
    }
}

TEST(HistogramValues, AreUntouchedWhenMemoryRunsOut)
{
    TestImage src(Layout{.width = 512, .height = 520, .channels = 3, .packing = Planar});
    const auto plain = [&](int threads) {
        const CallThreads allowed(threads);
        LooseHistogram hist(3, 256);
        return allocationsOf(hist, [&] { return Histogram(src, hist); });
    };
    const auto gray = [&](int threads) {
        const CallThreads allowed(threads);
        LooseHistogram hist(4, 256);
        return allocationsOf(hist, [&] { return HistogramRGBGrayFromRGB(src, hist); });
    };
    EXPECT_GE(plain(1), 2);  // the planes of the channels and the working tables
    EXPECT_GE(gray(1), 2);
    // A second band has tables and a histogram of its own; the image is too small for a third.
    EXPECT_GE(plain(2), plain(1) + 3);
    EXPECT_GE(gray(2), gray(1) + 3);
    EXPECT_EQ(plain(3), plain(2));
}

TEST(HistogramValues, OfAnImageAsWideAsTheLargestNumberDoNotOverflow)
{
    HistogramArgs a;
    a.src->width = a.src->height = std::numeric_limits<int>::max();
    a.src->stride = std::numeric_limits<int>::max();
    EXPECT_EQ(Histogram(a.src, a.hist), ResultBadArg1);
}

}  // namespace
}  // namespace ko::test
