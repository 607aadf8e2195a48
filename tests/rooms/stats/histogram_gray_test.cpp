#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"

#include <ko/stats/histogram.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using namespace spoil;

constexpr auto srcTwoChannels = [](auto& a) { a.src->channels = 2; };
constexpr auto srcFiveChannels = [](auto& a) { a.src->channels = 5; };
constexpr auto srcInterleaved = [](auto& a) { a.src->packing = Interleaved; };
constexpr auto threePlanes = [](auto& a) { a.hist->planes = 3; };
constexpr auto oneLevelLess = [](auto& a) { a.hist->levels = 127; };
constexpr auto oneLevelMore = [](auto& a) { a.hist->levels = 129; };
constexpr auto masksAbsent = [](auto& a) { a.masks->data = nullptr; };
constexpr auto masksMono = [](auto& a) { a.masks->channels = 1; };
constexpr auto masksSigned = [](auto& a) { a.masks->dataType = Int8; };
constexpr auto masksInterleaved = [](auto& a) { a.masks->packing = Interleaved; };
constexpr auto masksNarrow = [](auto& a) { a.masks->width = 5; };
constexpr auto masksLow = [](auto& a) { a.masks->height = 4; };
constexpr auto masksRows = [](auto& a) { a.masks->stride = 5; };

struct ColourArgs {
    TestImage src;
    TestImage mask{Layout{.width = 6, .height = 5}};
    TestImage masks{Layout{.width = 6, .height = 5, .channels = 3, .packing = Planar}};
    LooseHistogram hist{4, 128};
    int plane = 2;

    explicit ColourArgs(int channels = 3, ExPixelPacking packing = Interleaved)
        : src(Layout{.width = 6, .height = 5, .channels = channels, .packing = packing, .bits = 7})
    {
        hist.fill(9);
    }
    bool outputsUntouched() const { return hist.holds(9); }
};
struct GrayArgs : ColourArgs {
    GrayArgs() : ColourArgs(4) {}
    ResultCode call() { return HistogramGrayFromRGB(src, hist, plane); }
};
struct GrayMaskedArgs : ColourArgs {
    ResultCode call() { return HistogramGrayFromRGBMasked(src, hist, mask); }
};
struct ColoursMaskedArgs : ColourArgs {
    ResultCode call() { return HistogramRGBGrayFromRGBMasked(src, hist, mask); }
};
struct ColoursArgs : ColourArgs {
    ResultCode call() { return HistogramRGBGrayFromRGB(src, hist); }
};
struct ColourMasksArgs : ColourArgs {
    ResultCode call() { return HistogramRGBGrayFromRGBMasked(src, masks, hist); }
};
struct RawArgs : ColourArgs {
    RawArgs() : ColourArgs(4, Planar) {}
    ResultCode call() { return HistogramRGBGrayFromRawPlanar(src, hist); }
};
struct RawMaskedArgs : ColourArgs {
    RawMaskedArgs() : ColourArgs(4, Planar) {}
    ResultCode call() { return HistogramRGBGrayFromRawPlanarMasked(src, mask, hist); }
};

TEST(HistogramGrayFromRGBChecks, RunInOrder)
{
    constexpr auto threeChannels = [](auto& a) { a.src->channels = 3; };
    constexpr auto sample128 = [](auto& a) { a.src->dataType = Sample128; };
    constexpr auto unsigned64 = [](auto& a) { a.src->dataType = UInt64; };
    runCheckTable<GrayArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"three channels", threeChannels, ResultBadArg1},
        {"UInt32", srcWide, ResultBadArg1},
        {"Sample128", sample128, ResultBadArg1},
        {"UInt64", unsigned64, ResultBadArg1},
        {"no planes", noPlanes, ResultBadArg2},
        {"plane negative", planeNegative, ResultBadArg3},
        {"plane beyond", [](auto& a) { a.plane = 4; }, ResultBadArg3},
        {"type 12", srcUnknownType, ResultUnsupportedType},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

template <class Args>
class HistogramColoursWithOneMask : public testing::Test {
};
using BothNames = testing::Types<GrayMaskedArgs, ColoursMaskedArgs>;
TYPED_TEST_SUITE(HistogramColoursWithOneMask, BothNames);

TYPED_TEST(HistogramColoursWithOneMask, RunsItsChecksInOrder)
{
    runCheckTable<TypeParam>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"two channels", srcTwoChannels, ResultBadArg1},
        {"five channels", srcFiveChannels, ResultBadArg1},
        {"mask absent", maskAbsent, ResultBadArg2},
        {"mask signed", maskType, ResultBadArg2},
        {"mask narrower", maskWidth, ResultBadArg2},
        {"three planes", threePlanes, ResultBadArg3},
        {"one level less", oneLevelLess, ResultBadArg3},
        {"one level more", oneLevelMore, ResultBadArg3},
        {"UInt32", srcWide, ResultUnsupportedType},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", maskRows, ResultBadArg2},
    });
}

TEST(HistogramRGBGrayFromRGBChecks, RunInOrder)
{
    runCheckTable<ColoursArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"two channels", srcTwoChannels, ResultBadArg1},
        {"three planes", threePlanes, ResultBadArg2},
        {"one level less", oneLevelLess, ResultBadArg2},
        {"one level more", oneLevelMore, ResultBadArg2},
        {"UInt32", srcWide, ResultUnsupportedType},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramRGBGrayFromRGBMaskedChecks, WithAMaskPerColourRunInOrder)
{
    runCheckTable<ColourMasksArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"five channels", srcFiveChannels, ResultBadArg1},
        {"mask absent", masksAbsent, ResultBadArg2},
        {"mask mono", masksMono, ResultBadArg2},
        {"mask signed", masksSigned, ResultBadArg2},
        {"mask interleaved", masksInterleaved, ResultBadArg2},
        {"mask narrower", masksNarrow, ResultBadArg2},
        {"mask lower", masksLow, ResultBadArg2},
        {"three planes", threePlanes, ResultBadArg3},
        {"one level more", oneLevelMore, ResultBadArg3},
        {"type 12", srcUnknownType, ResultUnsupportedType},
        {"packing", srcPacking, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
        {"mask rows beyond their stride", masksRows, ResultBadArg2},
    });
}

TEST(HistogramRGBGrayFromRawPlanarChecks, RunInOrder)
{
    runCheckTable<RawArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"two channels", srcTwoChannels, ResultBadArg1},
        {"interleaved", srcInterleaved, ResultBadArg1},
        {"packing", srcPacking, ResultBadArg1},
        {"three planes", threePlanes, ResultBadArg2},
        {"one level less", oneLevelLess, ResultBadArg2},
        {"one level more", oneLevelMore, ResultBadArg2},
        {"UInt32", srcWide, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramRGBGrayFromRawPlanarMaskedChecks, DoNotLookAtTheMask)
{
    runCheckTable<RawMaskedArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"five channels", srcFiveChannels, ResultBadArg1},
        {"interleaved", srcInterleaved, ResultBadArg1},
        {"three planes", threePlanes, ResultBadArg2},
        {"one level more", oneLevelMore, ResultBadArg2},
        {"type 12", srcUnknownType, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
    for (const auto& spoil : std::vector<std::function<void(RawMaskedArgs&)>>{
             maskAbsent, maskChannels, maskType, maskWidth, maskHeight}) {
        RawMaskedArgs args;
        spoil(args);
        EXPECT_EQ(args.call(), ResultOk);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

TEST(HistogramGrayFromRGBValues, AreTheTruncatedMeanOfThreeOfFourChannels)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4});
    src.setAll<std::uint8_t>({1, 2, 5, 200, 255, 255, 254, 7});
    LooseHistogram hist(3, 256);
    ASSERT_EQ(HistogramGrayFromRGB(src, hist, 1), ResultOk);
    EXPECT_EQ(hist.at(1, 2), 1U);
    EXPECT_EQ(hist.at(1, 254), 1U);
    EXPECT_EQ(hist.at(0, 2), 0U);
}

TEST(HistogramGrayFromRGBValues, OfPlanarImagesUsePlanesZeroOneAndThree)
{
    TestImage src(Layout{.width = 1, .height = 1, .channels = 4, .packing = Planar});
    src.setAll<std::uint8_t>({10, 20, 200, 30});
    LooseHistogram hist(1, 256);
    ASSERT_EQ(HistogramGrayFromRGB(src, hist, 0), ResultOk);
    EXPECT_EQ(hist.at(0, 20), 1U);
}

TEST(HistogramGrayFromRGBValues, OfPlanarWordsAreReadByteByByte)
{
    TestImage src(Layout{.width = 3, .height = 1, .channels = 4, .type = UInt16, .packing = Planar});
    src.setAll<std::uint16_t>({0x0201, 0x0402, 0, 0x0603,    // bytes 1 2, 2 4, 3 6
                               0x0908, 0x0908, 0, 0x0908,    // 8 9
                               0xFFFF, 0xFFFF, 0, 0xFFFF});  // beyond `width` bytes
    LooseHistogram hist(1, 256);
    ASSERT_EQ(HistogramGrayFromRGB(src, hist, 0), ResultOk);
    EXPECT_EQ(hist.at(0, 2), 1U);
    EXPECT_EQ(hist.at(0, 4), 1U);
    EXPECT_EQ(hist.at(0, 8), 1U);
    EXPECT_EQ(hist.at(0, 9) + hist.at(0, 255), 0U);
}

TEST(HistogramGrayFromRGBValues, LeaveOutWhatHasNoLevel)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4, .type = UInt16});
    src.setAll<std::uint16_t>({100, 100, 100, 0, 9, 9, 9, 0});
    LooseHistogram hist(1, 50);
    ASSERT_EQ(HistogramGrayFromRGB(src, hist, 0), ResultOk);
    EXPECT_EQ(hist.at(0, 9), 1U);
    EXPECT_TRUE(hist.guardsIntact());
    hist->bins = nullptr;
    EXPECT_EQ(HistogramGrayFromRGB(src, hist, 0), ResultOk);
}

TEST(HistogramRGBGrayFromRGBValues, PutGrayBeforeTheColours)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage src(Layout{.width = 1, .height = 1, .channels = 4, .packing = packing});
        src.setAll<std::uint8_t>({3, 4, 6, 99});
        LooseHistogram hist(4, 256);
        ASSERT_EQ(HistogramRGBGrayFromRGB(src, hist), ResultOk);
        EXPECT_EQ(hist.at(0, 4), 1U);
        EXPECT_EQ(hist.at(1, 3), 1U);
        EXPECT_EQ(hist.at(2, 4), 1U);
        EXPECT_EQ(hist.at(3, 6), 1U);
        EXPECT_EQ(hist.at(1, 99) + hist.at(2, 99) + hist.at(3, 99), 0U);
    }
}

TEST(HistogramRGBGrayFromRGBMaskedValues, AverageTheSelectedChannelsOnly)
{
    TestImage src(Layout{.width = 4, .height = 1, .channels = 3});
    src.setAll<std::uint8_t>({10, 20, 35, 10, 20, 35, 10, 20, 35, 10, 20, 35});
    TestImage masks(Layout{.width = 4, .height = 1, .channels = 3, .packing = Planar});
    masks.setAll<std::uint8_t>({1, 2, 3, 1, 0, 255, 0, 0, 7, 0, 0, 0});
    LooseHistogram hist(4, 256);
    ASSERT_EQ(HistogramRGBGrayFromRGBMasked(src, masks, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 21), 1U);
    EXPECT_EQ(hist.at(0, 22), 1U);
    EXPECT_EQ(hist.at(0, 35), 1U);
    EXPECT_EQ(hist.at(0, 0), 0U);
    EXPECT_EQ(hist.at(1, 10), 2U);
    EXPECT_EQ(hist.at(2, 20), 1U);
    EXPECT_EQ(hist.at(3, 35), 3U);
}

TEST(HistogramRGBGrayFromRawPlanarValues, CountBothGreensInOnePlane)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4, .packing = Planar});
    src.setAll<std::uint8_t>({1, 2, 3, 5, 255, 255, 255, 254});
    LooseHistogram hist(4, 256);
    ASSERT_EQ(HistogramRGBGrayFromRawPlanar(src, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 2), 1U);
    EXPECT_EQ(hist.at(0, 254), 1U);
    EXPECT_EQ(hist.at(1, 1), 1U);
    EXPECT_EQ(hist.at(2, 2), 1U);
    EXPECT_EQ(hist.at(2, 5), 1U);
    EXPECT_EQ(hist.at(3, 3), 1U);
    EXPECT_EQ(hist.at(2, 255) + hist.at(2, 254), 2U);
}

TEST(HistogramRGBGrayFromRawPlanarMaskedValues, OfASmallMaskSelectNothingOutsideIt)
{
    TestImage src(Layout{.width = 4, .height = 3, .channels = 4, .packing = Planar});
    TestImage mask(Layout{.width = 3, .height = 2});
    mask.fillBytes(1);
    LooseHistogram hist(4, 256);
    ASSERT_EQ(HistogramRGBGrayFromRawPlanarMasked(src, mask, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 6U);
    EXPECT_EQ(hist.at(2, 0), 12U);
}

TEST(HistogramRGBGrayFromRawPlanarMaskedValues, ReadTheBytesOfAnyMaskWithinItsMemory)
{
    TestImage src(Layout{.width = 4, .height = 3, .channels = 4, .packing = Planar});
    TestImage words(Layout{.width = 4, .height = 3, .type = UInt16, .padding = 0});
    words.fillBytes(0);
    words.set<std::uint16_t>(0, 0, 0x0100);
    words.set<std::uint16_t>(1, 2, 0x0001);
    LooseHistogram hist(4, 256);
    ASSERT_EQ(HistogramRGBGrayFromRawPlanarMasked(src, words, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 2U);
    // Rows that claim to be longer than the stride end with the memory.
    TestImage bytes(Layout{.width = 4, .height = 3, .padding = 0});
    bytes.fillBytes(1);
    bytes->stride = 1;
    hist.fill(0);
    ASSERT_EQ(HistogramRGBGrayFromRawPlanarMasked(src, bytes, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 6U);
    bytes->stride = 0;
    hist.fill(0);
    ASSERT_EQ(HistogramRGBGrayFromRawPlanarMasked(src, bytes, hist), ResultOk);
    EXPECT_EQ(hist.at(0, 0), 0U);
}

}  // namespace
}  // namespace ko::test
