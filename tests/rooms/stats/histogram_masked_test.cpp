#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"

#include <ko/stats/histogram.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

using namespace spoil;

struct WholeArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, hist); }
};
struct RegionArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, roi, hist); }
};
struct ChannelArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, channel, hist, plane); }
};
struct RegionChannelArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, roi, channel, hist, plane, count); }
};
struct PointsArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, pos, offsets, channel, hist, plane, count); }
};
struct StencilArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, stencil, pos, hist, count); }
};
struct StencilChannelArgs : HistogramArgs {
    ResultCode call() { return HistogramMasked(src, mask, stencil, pos, channel, hist, plane, count); }
};

constexpr auto signedWordsOf17Bits = [](auto& a) {
    a.src->dataType = Int16;
    a.src->bitsPerSample = 17;
};

TEST(HistogramMaskedChecks, OfTheWholeImageNumberTheHistogramAsWithARegion)
{
    runCheckTable<WholeArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"Int16 of 17 bits", signedWordsOf17Bits, ResultBadArg1},
        {"src of 4 bytes", srcWide, ResultBadArg1},
        {"src of no type", srcUnknownType, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"mask absent", maskAbsent, ResultBadArg2},
        {"mask of 2 channels", maskChannels, ResultBadArg2},
        {"mask signed", maskType, ResultBadArg2},
        {"mask narrower", maskWidth, ResultBadArg2},
        {"mask lower", maskHeight, ResultBadArg2},
        {"no bins", noBins, ResultBadArg4},
        {"no planes", noPlanes, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
}

TEST(HistogramMaskedChecks, OfARegionRunInOrder)
{
    runCheckTable<RegionArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"mask signed", maskType, ResultBadArg2},
        {"roi", roiOutside, ResultBadArg3},
        {"no bins", noBins, ResultBadArg4},
        {"no planes", noPlanes, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg4},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
}

TEST(HistogramMaskedChecks, OfOneChannelNumberItAsWithARegion)
{
    runCheckTable<ChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"mask narrower", maskWidth, ResultBadArg2},
        {"channel beyond", channelBeyond, ResultBadArg4},
        {"no planes", noPlanes, ResultBadArg5},
        {"plane beyond", planeBeyond, ResultBadArg6},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
}

TEST(HistogramMaskedChecks, OfOneChannelOfARegionRunInOrder)
{
    runCheckTable<RegionChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"mask lower", maskHeight, ResultBadArg2},
        {"roi", roiOutside, ResultBadArg3},
        {"channel beyond", channelBeyond, ResultBadArg4},
        {"channel negative", channelNegative, ResultBadArg4},
        {"no bins", noBins, ResultBadArg5},
        {"no planes", noPlanes, ResultBadArg5},
        {"few levels", fewLevels, ResultBadArg5},
        {"plane beyond", planeBeyond, ResultBadArg6},
        {"plane negative", planeNegative, ResultBadArg6},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
}

TEST(HistogramMaskedChecks, OfPointsLookAtTheBitsOfBytesAfterTheMask)
{
    runCheckTable<PointsArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src of 4 bytes", srcWide, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"mask absent", maskAbsent, ResultBadArg2},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"origin beyond", posOutside, ResultBadArg3},
        {"channel negative", channelNegative, ResultBadArg5},
        {"no bins", noBins, ResultBadArg6},
        {"other planes", otherPlanes, ResultBadArg6},
        {"few levels", fewLevels, ResultBadArg6},
        {"plane beyond", planeBeyond, ResultBadArg7},
        {"plane negative", planeNegative, ResultBadArg7},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
    PointsArgs args;
    args.mask.fillBytes(1);
    args.channel = 3;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_TRUE(args.hist.holds(9));
    EXPECT_EQ(args.count, 0);
}

TEST(HistogramMaskedChecks, OfAStencilRunInOrder)
{
    runCheckTable<StencilArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"UInt8 of 9 bits", srcDeep, ResultBadArg1},
        {"mask of 2 channels", maskChannels, ResultBadArg2},
        {"stencil absent", stencilAbsent, ResultBadArg3},
        {"stencil of 3 channels", stencilChannels, ResultBadArg3},
        {"stencil UInt16", stencilType, ResultBadArg3},
        {"pos beyond", posOutside, ResultBadArg4},
        {"stencil too wide", stencilWide, ResultBadArg3},
        {"stencil leaves", stencilLeaves, ResultBadArg4},
        {"no bins", noBins, ResultBadArg5},
        {"other planes", otherPlanes, ResultBadArg5},
        {"few levels", fewLevels, ResultBadArg5},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
        {"stencil rows beyond their stride", stencilRows, ResultBadArg3},
    });
}

TEST(HistogramMaskedChecks, OfOneChannelOfAStencilReportThePositionAsTheStencil)
{
    runCheckTable<StencilChannelArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"mask signed", maskType, ResultBadArg2},
        {"stencil absent", stencilAbsent, ResultBadArg3},
        {"pos beyond", posOutside, ResultBadArg3},
        {"stencil too high", stencilHigh, ResultBadArg3},
        {"stencil leaves", stencilLeaves, ResultBadArg4},
        {"channel beyond", channelBeyond, ResultBadArg5},
        {"channel negative", channelNegative, ResultBadArg5},
        {"no bins", noBins, ResultBadArg6},
        {"other planes", otherPlanes, ResultBadArg6},
        {"few levels", fewLevels, ResultBadArg6},
        {"plane beyond", planeBeyond, ResultBadArg7},
        {"plane negative", planeNegative, ResultBadArg7},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
        {"stencil rows beyond their stride", stencilRows, ResultBadArg3},
    });
}

TEST(HistogramMaskedValues, ReadSignedSamplesWithoutSign)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = Int8});
    src.setAll<std::int8_t>({-1, 5, -128});
    TestImage mask(Layout{.width = 3, .height = 1});
    mask.fillBytes(2);
    LooseHistogram hist(1, 256);
    ASSERT_EQ(HistogramMasked(src, mask, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 255) + hist.at(0, 5) + hist.at(0, 128), 3U);

    TestImage words(Layout{.width = 3, .height = 1, .type = Int16});
    words.setAll<std::int16_t>({-1, 5, -32768});
    LooseHistogram deep(1, 65536);
    ASSERT_EQ(HistogramMasked(words, mask, deep), ResultOk);
    EXPECT_EQ(deep.at(0, 65535) + deep.at(0, 5) + deep.at(0, 32768), 3U);
}

TEST(HistogramMaskedValues, OfSignedBytesMayClaimMoreBits)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = Int8, .bits = 12});
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.fillBytes(1);
    LooseHistogram hist(1, 4096);
    ASSERT_EQ(HistogramMasked(src, mask, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 2U);
}

TEST(HistogramMaskedValues, OfAnAllZeroMaskAreNoneAndTheCountIsZero)
{
    RegionChannelArgs args;
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.count, 0);
    EXPECT_TRUE(args.hist.holds(9));
}

TEST(HistogramMaskedValues, ReportTheNumberOfSelectedPixels)
{
    HistogramArgs a;
    a.mask.fillBytes(1);
    ASSERT_EQ(HistogramMasked(a.src, a.mask, a.roi, 1, a.hist, 1, a.count), ResultOk);
    EXPECT_EQ(a.count, 12);
    EXPECT_EQ(a.hist.at(1, 0), 21U);
    EXPECT_EQ(a.hist.at(0, 0), 9U);
    ASSERT_EQ(HistogramMasked(a.src, a.mask, a.pos, {{0, 0}, {0, 0}, {9, 9}}, 0, a.hist, 1, a.count),
              ResultOk);
    EXPECT_EQ(a.count, 2);
    a.mask.set<std::uint8_t>(2, 1, 0);
    ASSERT_EQ(HistogramMasked(a.src, a.mask, a.pos, {{0, 0}, {0, 1}, {0, 0}}, 0, a.hist, 1, a.count),
              ResultOk);
    EXPECT_EQ(a.count, 1);
}

TEST(HistogramMaskedValues, OfAStencilNeedBothBytesSet)
{
    HistogramArgs a;
    a.stencil.setAll<std::uint8_t>({1, 1, 0, 7, 0, 9});
    a.mask.set<std::uint8_t>(2, 1, 4);
    a.mask.set<std::uint8_t>(4, 1, 4);
    a.mask.set<std::uint8_t>(4, 2, 4);
    a.mask.set<std::uint8_t>(0, 0, 4);
    a.src.set<std::uint8_t>(2, 1, 0, 50);
    a.src.set<std::uint8_t>(2, 1, 2, 52);
    a.src.set<std::uint8_t>(4, 2, 0, 60);
    ASSERT_EQ(HistogramMasked(a.src, a.mask, a.stencil, a.pos, a.hist, a.count), ResultOk);
    EXPECT_EQ(a.count, 2);
    EXPECT_EQ(a.hist.at(0, 50), 10U);
    EXPECT_EQ(a.hist.at(2, 52), 10U);
    EXPECT_EQ(a.hist.at(0, 60), 10U);
    ASSERT_EQ(HistogramMasked(a.src, a.mask, a.stencil, a.pos, 2, a.hist, 1, a.count), ResultOk);
    EXPECT_EQ(a.count, 2);
    EXPECT_EQ(a.hist.at(1, 52), 10U);
}

}  // namespace
}  // namespace ko::test
