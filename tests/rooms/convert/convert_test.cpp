#include "support/test_image.h"

#include <ko/convert.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

constexpr auto unknownKind = static_cast<NormalizationType>(2);
constexpr auto unknownPacking = static_cast<ExPixelPacking>(2);
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// One row of samples, of one channel unless told.
template <class S, class Dst>
struct Row {
    TestImage src;
    TestImage dst;

    Row(ExImageDataType from, ExImageDataType to, std::initializer_list<S> samples, int bits = 0,
        int channels = 1)
        : src(Layout{.width = static_cast<int>(samples.size()) / channels,
                     .height = 1,
                     .channels = channels,
                     .type = from}),
          dst(Layout{.width = static_cast<int>(samples.size()) / channels,
                     .height = 1,
                     .channels = channels,
                     .type = to,
                     .bits = bits})
    {
        src.template setAll<S>(samples);
    }
    std::vector<Dst> all() const { return dst.template all<Dst>(); }
};

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;
using Longs = std::vector<std::uint32_t>;

TEST(ConvertDoubleToUValues, MapTheMinimumTo0AndTheMaximumToTheTopTruncatingBetween)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {-1, 1, 0, -1 + 2 * 254.9 / 255, nan});
    double low = 0, high = 0;
    ASSERT_EQ(ConvertDoubleToU(row.src, row.dst, unknownKind, &low, &high, false), ResultOk)
        << "one channel has nothing to share";
    EXPECT_EQ(row.all(), (Bytes{0, 255, 127, 254, 0}));
    EXPECT_EQ(low, -1);
    EXPECT_EQ(high, 1);
}

TEST(ConvertDoubleToUValues, FollowTheDepthCutToTheContainer)
{
    Row<double, std::uint16_t> twelve(Float64, UInt16, {0, 0.5, 1}, 12);
    ASSERT_EQ(ConvertDoubleToU(twelve.src, twelve.dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(twelve.all(), (Words{0, 2047, 4095}));

    Row<double, std::uint8_t> bytes(Float64, UInt8, {0, 0.5, 1}, 12);
    ASSERT_EQ(ConvertDoubleToU(bytes.src, bytes.dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(bytes.all(), (Bytes{0, 127, 255}));

    Row<double, std::uint32_t> wide(Float64, UInt32, {0, 0.5, 1}, 32);
    ASSERT_EQ(ConvertDoubleToU(wide.src, wide.dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(wide.all(), (Longs{0, 0x7FFFFFFF, 0xFFFFFFFF}));

    wide.dst->bitsPerSample = 64;
    ASSERT_EQ(ConvertDoubleToU(wide.src, wide.dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(wide.all(), (Longs{0, 0, 0})) << "2^64 has no low bits";
    wide.dst->bitsPerSample = -3;
    ASSERT_EQ(ConvertDoubleToU(wide.src, wide.dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(wide.all(), (Longs{0, 0, 0}));
}

TEST(ConvertDoubleToUValues, ClearAllMemoryForAConstantImage)
{
    TestImage src(Layout{.type = Float64}), dst(Layout{});
    src.forEachSample([&](int x, int y, int c) { src.set<double>(x, y, c, 5.0); });
    dst.fillBytes(9);
    double low = 0, high = 0;
    ASSERT_EQ(ConvertDoubleToU(src, dst, NormalizeSeparate, &low, &high, false), ResultOk);
    EXPECT_EQ(low, 5);
    EXPECT_EQ(high, 5);
    const std::size_t bytes = imageByteSize(dst.buf());
    EXPECT_EQ(Bytes(dst->data, dst->data + bytes), Bytes(bytes)) << "padding included";
}

TEST(ConvertDoubleToUValues, ClearOnlyThePlaneThatIsConstant)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 2, .type = Float64, .packing = Planar});
    TestImage dst(Layout{.width = 2, .height = 1, .channels = 2, .packing = Planar});
    src.setAll<double>({1, 5, 2, 5});
    dst.fillBytes(9);
    const std::uint8_t guard = dst->data[2];
    ASSERT_EQ(ConvertDoubleToU(src, dst, NormalizeSeparate, nullptr, nullptr, false), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{0, 0, 255, 0}));
    const std::uint8_t* const second = dst->data + dst->stride;
    EXPECT_EQ(Bytes(second, second + dst->stride), Bytes(static_cast<std::size_t>(dst->stride)));
    EXPECT_EQ(dst->data[2], guard) << "the padding of the other plane is left alone";
}

TEST(ConvertDoubleToUValues, MakeAConstantInterleavedChannel0InItsOwnSamples)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {1, 7, 3, 2, 7, 4}, 0, 3);
    double low[3], high[3];
    ASSERT_EQ(ConvertDoubleToU(row.src, row.dst, NormalizeSeparate, low, high, false), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 0, 0, 255, 0, 255}));
    EXPECT_EQ(low[1], 7);
    EXPECT_TRUE(row.dst.guardsIntact());
}

TEST(ConvertDoubleToUValues, ShareOneRangeWhenJoint)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {0, 51, 255, 0, 102, 255}, 0, 3);
    double low[3], high[3];
    ASSERT_EQ(ConvertDoubleToU(row.src, row.dst, NormalizeJoint, low, high, false), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 51, 255, 0, 102, 255}));
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(low[c], 0);
        EXPECT_EQ(high[c], 255);
    }
    ASSERT_EQ(ConvertDoubleToU(row.src, row.dst, NormalizeSeparate, low, high, false), ResultOk);
    EXPECT_EQ(low[1], 51);
    EXPECT_EQ(high[1], 102);
}

TEST(ConvertDoubleToUValues, PutThe0OfTheSourceAt0WhenZeroBased)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {127.5, 255, -50});
    double low = 7, high = 7;
    ASSERT_EQ(ConvertDoubleToU(row.src, row.dst, NormalizeSeparate, &low, &high, true), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{127, 255, 0}));
    EXPECT_EQ(low, 0);

    Row<double, std::uint8_t> below(Float64, UInt8, {-4, -2, 0});
    ASSERT_EQ(ConvertDoubleToU(below.src, below.dst, NormalizeSeparate, &low, &high, true), ResultOk);
    EXPECT_EQ(below.all(), (Bytes{0, 0, 0})) << "a maximum of 0 leaves no range";
    EXPECT_EQ(high, 0);
}

/// A 2 x 2 cell twice, over each other; columns take turns.
struct Mosaic {
    TestImage src{Layout{.width = 2, .height = 4, .type = Float64}};
    TestImage dst{Layout{.width = 2, .height = 4, .type = UInt8}};
    double low[4] = {};
    double high[4] = {};

    explicit Mosaic(std::initializer_list<double> samples)
    {
        src.setAll<double>(samples);
        src->bayerGrid = BayerRGGB;
    }
};

TEST(ConvertDoubleToUValues, GiveEveryPositionOfAMosaicItsRange)
{
    Mosaic mosaic({0, 10, 20, 7, 1, 12, 24, 7});
    ASSERT_EQ(ConvertDoubleToU(mosaic.src, mosaic.dst, NormalizeSeparate, mosaic.low, mosaic.high, false),
              ResultOk);
    EXPECT_EQ(mosaic.dst.all<std::uint8_t>(), (Bytes{0, 0, 0, 0, 255, 255, 255, 0}));
    EXPECT_EQ(mosaic.low[2], 20);
    EXPECT_EQ(mosaic.high[1], 12);
    EXPECT_TRUE(mosaic.dst.guardsIntact()) << "a constant position clears nothing else";

    ASSERT_EQ(ConvertDoubleToU(mosaic.src, mosaic.dst, NormalizeJoint, mosaic.low, mosaic.high, false),
              ResultOk);
    EXPECT_EQ(mosaic.dst.all<std::uint8_t>(), (Bytes{0, 106, 212, 74, 10, 127, 255, 74}));
    EXPECT_EQ(mosaic.high[0], 24);
    EXPECT_EQ(ConvertDoubleToU(mosaic.src, mosaic.dst, unknownKind, nullptr, nullptr, false), ResultFailed);
}

TEST(ConvertDoubleToUValues, WrapBelowTheRangeOfAMosaic)
{
    Mosaic mosaic({-1, 0, 0, 0, 255, 1, 1, 1});
    ASSERT_EQ(ConvertDoubleToU(mosaic.src, mosaic.dst, NormalizeSeparate, mosaic.low, mosaic.high, true),
              ResultOk);
    EXPECT_EQ(mosaic.dst.get<std::uint8_t>(0, 0), 255) << "-1 keeps its low bits";
    EXPECT_EQ(mosaic.low[0], 0);
}

TEST(ConvertDoubleToUValues, RefuseAMosaicOfOddOrNoSize)
{
    for (const auto& [width, height] : {std::pair{3, 2}, {2, 3}, {0, 2}, {2, 0}}) {
        TestImage src(Layout{.width = width, .height = height, .type = Float64});
        TestImage dst(Layout{.width = width, .height = height});
        src->bayerGrid = BayerGBRG;
        EXPECT_EQ(ConvertDoubleToU(src, dst, NormalizeSeparate, nullptr, nullptr, false), ResultFailed);
    }
}

TEST(ConvertDoubleToUValues, OfAnImageWithoutPixelsAreTheStartingRange)
{
    for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}}) {
        TestImage src(Layout{.width = width, .height = height, .type = Float64});
        TestImage dst(Layout{.width = width, .height = height});
        const auto before = dst.bytes();
        double low = 0, high = 0;
        ASSERT_EQ(ConvertDoubleToU(src, dst, NormalizeSeparate, &low, &high, false), ResultOk);
        EXPECT_EQ(low, std::numeric_limits<double>::max());
        EXPECT_EQ(high, std::numeric_limits<double>::lowest());
        EXPECT_EQ(dst.bytes(), before);
    }
}

TEST(ConvertFloatToUValues, AreComputedInDouble)
{
    Row<float, std::uint32_t> row(Float32, UInt32, {0.0F, 0.1F, 1.0F}, 32);
    float low = 7, high = 7;
    ASSERT_EQ(ConvertFloatToU(row.src, row.dst, NormalizeSeparate, &low, &high, false), ResultOk);
    EXPECT_EQ(row.all(), (Longs{0, 429496735, 0xFFFFFFFF}));
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 1);
}

TEST(ConvertFloatToU8Values, ReverseThreeInterleavedChannels)
{
    TestImage src(Layout{.channels = 3, .type = Float32}), dst(Layout{.channels = 3});
    src.forEachSample([&](int x, int y, int c) { src.set<float>(x, y, c, c == 0 ? 1.0F : 0.0F); });
    float low[3], high[3];
    ASSERT_EQ(ConvertFloatToU8(src, dst, NormalizeJoint, low, high), ResultOk);
    dst.forEachSample(
        [&](int x, int y, int c) { EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), c == 2 ? 255 : 0); });
    EXPECT_EQ(high[2], 1) << "the joint range is repeated";
    ASSERT_EQ(ConvertFloatToU8(src, dst, NormalizeSeparate, low, high), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), Bytes(36)) << "constant channels";
}

TEST(ConvertFloatToU8Values, KeepTheOrderOfPlanesAndOfOtherChannelCounts)
{
    for (const auto& [channels, packing] : {std::pair{3, Planar}, {2, Interleaved}, {4, Interleaved}}) {
        TestImage src(Layout{.channels = channels, .type = Float32, .packing = packing});
        TestImage dst(Layout{.channels = channels, .packing = packing});
        src.forEachSample([&](int x, int y, int c) { src.set<float>(x, y, c, c == 0 ? 1.0F : 0.0F); });
        ASSERT_EQ(ConvertFloatToU8(src, dst, NormalizeJoint, nullptr, nullptr), ResultOk);
        dst.forEachSample(
            [&](int x, int y, int c) { EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), c == 0 ? 255 : 0); });
    }
}

TEST(ConvertFloatToU8Values, IgnoreTheDepthAndRefuseAnUnknownNormalisationOfOneChannelToo)
{
    Row<float, std::uint8_t> row(Float32, UInt8, {0, 0.5F, 1, std::numeric_limits<float>::quiet_NaN()}, 4);
    ASSERT_EQ(ConvertFloatToU8(row.src, row.dst, NormalizeJoint, nullptr, nullptr), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 127, 255, 0}));
    EXPECT_EQ(ConvertFloatToU8(row.src, row.dst, unknownKind, nullptr, nullptr), ResultBadArg3);
}

TEST(ConvertFloatToU8Values, GiveAMosaicOneRangeInElement0)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = Float32}), dst(Layout{.width = 3, .height = 1});
    src.setAll<float>({0, 1, 0.5F});
    src->bayerGrid = BayerBGGR;
    float low[4] = {9, 9, 9, 9}, high[4] = {9, 9, 9, 9};
    ASSERT_EQ(ConvertFloatToU8(src, dst, NormalizeSeparate, low, high), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{0, 255, 127}));
    EXPECT_EQ(low[0], 0);
    EXPECT_EQ(high[0], 1);
    EXPECT_EQ(low[1], 9);
    EXPECT_EQ(high[3], 9);
}

TEST(ConvertFloatToU8MaskedValues, TakeTheRangeOfTheSelectedPixelsAndLeaveTheOthers)
{
    Row<float, std::uint8_t> row(Float32, UInt8, {-100, 0, 1, 2, 100});
    TestImage mask(Layout{.width = 5, .height = 1});
    mask.setAll<std::uint8_t>({0, 1, 2, 255, 0});
    row.dst.setAll<std::uint8_t>({7, 7, 7, 7, 7});
    float low = 9, high = 9;
    ASSERT_EQ(ConvertFloatToU8(row.src, mask, row.dst, NormalizeSeparate, &low, &high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{7, 0, 127, 255, 7}));
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 2);
    EXPECT_EQ(ConvertFloatToU8(row.src, mask, row.dst, unknownKind, nullptr, nullptr), ResultBadArg4);
}

TEST(ConvertFloatToU8MaskedValues, ReverseTheSelectedPixelsAlone)
{
    Row<float, std::uint8_t> row(Float32, UInt8, {1, 0, 0.5F, 0, 1, 1}, 0, 3);
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.setAll<std::uint8_t>({0, 3});
    row.dst.setAll<std::uint8_t>({7, 8, 9, 7, 8, 9});
    ASSERT_EQ(ConvertFloatToU8(row.src, mask, row.dst, NormalizeJoint, nullptr, nullptr), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{7, 8, 9, 255, 255, 0}));
}

TEST(ConvertDoubleToUMaskedValues, KeepLowBitsOfAnUncutTopAndAFourthChannel)
{
    Row<double, std::uint8_t> row(Float64, Int8, {0, 0, 0, 5, 1, 2, 4, 9}, 9, 4);
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.fillBytes(1);
    row.dst.setAll<std::uint8_t>({7, 7, 7, 7, 7, 7, 7, 7});
    double low[4], high[4];
    ASSERT_EQ(ConvertDoubleToUMasked(row.src, mask, row.dst, NormalizeJoint, low, high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 0, 0, 7, 511 / 9, 1022 / 9, 2044 / 9, 7})) << "the fourth is in the range";
    EXPECT_EQ(high[3], 9);
    ASSERT_EQ(ConvertDoubleToUMasked(row.src, mask, row.dst, NormalizeSeparate, low, high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 0, 0, 7, 255, 255, 255, 7})) << "511 in its low 8 bits";
}

TEST(ConvertDoubleToUMaskedValues, TreatTwoChannelsAndThreePlanes)
{
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.fillBytes(1);
    Row<double, std::uint8_t> row(Float64, UInt8, {0, 6, 1, 5}, 0, 2);
    ASSERT_EQ(ConvertDoubleToUMasked(row.src, mask, row.dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 255, 255, 0}));
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4, .type = Float64, .packing = Planar});
    TestImage dst(Layout{.width = 2, .height = 1, .channels = 4, .packing = Planar});
    src.forEachSample([&](int x, int y, int c) { src.set<double>(x, y, c, x * (c + 1)); });
    dst.fillBytes(7);
    ASSERT_EQ(ConvertDoubleToUMasked(src, mask, dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    dst.forEachSample([&](int x, int y, int c) {
        EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), c == 3 ? 7 : x * 255) << "the fourth plane stays";
    });
}

TEST(ConvertDoubleToUMaskedValues, MakeAConstantSelection0AndIgnoreTheKindForOneChannel)
{
    Row<double, std::uint16_t> row(Float64, Int16, {5, 5, 8}, 12);
    TestImage mask(Layout{.width = 3, .height = 1});
    mask.setAll<std::uint8_t>({1, 1, 0});
    row.dst.setAll<std::uint16_t>({7, 7, 7});
    const auto convert = [&] {
        return ConvertDoubleToUMasked(row.src, mask, row.dst, unknownKind, nullptr, nullptr);
    };
    ASSERT_EQ(convert(), ResultOk);
    EXPECT_EQ(row.all(), (Words{0, 0, 7}));
    row.src->bayerGrid = BayerRGGB;
    EXPECT_EQ(convert(), ResultFailed) << "of a mosaic it is looked at";
}

TEST(ConvertI32ToUValues, TruncateAndReportIntegers)
{
    Row<std::int32_t, std::uint8_t> row(Int32, UInt8, {-10, 0, 10});
    int low = 7, high = 7;
    ASSERT_EQ(ConvertI32ToU(row.src, row.dst, unknownKind, &low, &high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 127, 255}));
    EXPECT_EQ(low, -10);
    EXPECT_EQ(high, 10);
}

TEST(ConvertI32ToUValues, FormDifferencesIn32BitsThatWrap)
{
    // 2^31 - 1 - (-2) wraps to -2^31 + 1, a negative scale; 0 - (-2) is 2 as ever.
    Row<std::int32_t, std::uint16_t> row(Int32, UInt16, {-2, 0, std::numeric_limits<std::int32_t>::max()});
    ASSERT_EQ(ConvertI32ToU(row.src, row.dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    EXPECT_EQ(row.all(), (Words{0, 0, 65535}));
    Row<std::int32_t, std::uint16_t> far(Int32, UInt16, {0, 0x7FFFFFFF, std::numeric_limits<int>::min()});
    ASSERT_EQ(ConvertI32ToU(far.src, far.dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    // The range is -1, so the scale is -65535; the differences are -2^31, -1 and 0.
    EXPECT_EQ(far.all(), (Words{0, 65535, 0}));
}

TEST(ConvertI32ToUValues, KeepTheLowBitsOf64AtDepthsBeyondTheContainer)
{
    Row<std::int32_t, std::uint8_t> bytes(Int32, UInt8, {0, 1, 3}, 12);
    ASSERT_EQ(ConvertI32ToU(bytes.src, bytes.dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    EXPECT_EQ(bytes.all(), (Bytes{0, 0x55, 0xFF})) << "0x555 and 0xFFF";
    Row<std::int32_t, std::uint16_t> words(Int32, UInt16, {0, 1, 3}, 40);
    ASSERT_EQ(ConvertI32ToU(words.src, words.dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    EXPECT_EQ(words.all(), (Words{0, 0x5555, 0xFFFF})) << "0x5555555555 and 0xFFFFFFFFFF";
}

TEST(ConvertI32ToUValues, MakeAConstantChannel0AndConvertAFourth)
{
    Row<std::int32_t, std::uint8_t> row(Int32, UInt8, {5, 1, 2, 3, 5, 2, 4, 6}, 0, 4);
    int low[4], high[4];
    ASSERT_EQ(ConvertI32ToU(row.src, row.dst, NormalizeSeparate, low, high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 0, 0, 0, 0, 255, 255, 255}));
    EXPECT_TRUE(row.dst.guardsIntact());
    ASSERT_EQ(ConvertI32ToU(row.src, row.dst, NormalizeJoint, low, high), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{204, 0, 51, 102, 204, 51, 153, 255}));
    EXPECT_EQ(low[3], 1);
}

TEST(ConvertI32ToUValues, GiveAMosaicOneRangeInElement0)
{
    TestImage src(Layout{.width = 2, .height = 3, .type = Int32}), dst(Layout{.width = 2, .height = 3});
    src.setAll<std::int32_t>({0, 1, 2, 3, 4, 5});
    src->bayerGrid = BayerBGGR;
    int low[2] = {9, 9}, high[2] = {9, 9};
    ASSERT_EQ(ConvertI32ToU(src, dst, NormalizeSeparate, low, high), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{0, 51, 102, 153, 204, 255}));
    EXPECT_EQ(low[0], 0);
    EXPECT_EQ(high[0], 5);
    EXPECT_EQ(low[1], 9);
    EXPECT_EQ(ConvertI32ToU(src, dst, unknownKind, low, high), ResultFailed);
}

TEST(ScaleDoubleFloatToUValues, PutTheEndOfTheRangeAboveTheTop)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {0, 0.5, 1, 2, -1, nan, infinity});
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 128, 255, 255, 0, 0, 255}));
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 1, 0), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{255, 128, 0, 0, 255, 0, 0})) << "a range the other way round";
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, nan, 0), ResultOk);
    EXPECT_EQ(row.all(), Bytes(7));
}

TEST(ScaleDoubleFloatToUValues, Are0AtADepthOf32Bits)
{
    Row<double, std::uint32_t> row(Float64, UInt32, {0, 0.5, 1, 2}, 32);
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), Longs(4));
    row.dst->bitsPerSample = 31;
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), (Longs{0, 0x40000000, 0x7FFFFFFF, 0x7FFFFFFF}));
}

TEST(ScaleDoubleFloatToUValues, OfDepthsBeyondTheContainerCutTheTopAndTheStepsApart)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {0, 1.0 / 64, 0.5}, 12);
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 64, 255})) << "4096 steps below a top of 255";
    row.dst->bitsPerSample = 40;
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), Bytes(3)) << "2^40 has no low 32 bits";
}

TEST(ScaleDoubleFloatToUValues, OfFloatsNeverExceedATopThatIsNoFloat)
{
    for (const int bits : {25, 28, 31}) {
        Row<float, std::uint32_t> row(Float32, UInt32, {0, 0.5F, 1, 2, 0.99999994F}, bits);
        ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
        const std::uint32_t top = (1U << bits) - 1;
        EXPECT_EQ(row.all(), (Longs{0, (top + 1) / 2, top, top, top - (1U << (bits - 24)) + 1})) << bits;
    }
}

TEST(ScaleDoubleFloatToUValues, ClearMonoMemoryButOnlySamplesOfPixelsWhereTheRangeIsEmpty)
{
    for (const double max : {1.0, 1 + 1e-12}) {
        TestImage src(Layout{.type = Float32}), dst(Layout{});
        src.fillBytes(1);
        dst.fillBytes(9);
        ASSERT_EQ(ScaleDoubleFloatToU(src, dst, 1, max), ResultOk);
        const std::size_t bytes = imageByteSize(dst.buf());
        EXPECT_EQ(Bytes(dst->data, dst->data + bytes), Bytes(bytes)) << "equal in single precision";
    }
    TestImage src(Layout{.channels = 2, .type = Float64}), dst(Layout{.channels = 2});
    src.fillBytes(1);
    dst.fillBytes(9);
    ASSERT_EQ(ScaleDoubleFloatToU(src, dst, 1, 1), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), Bytes(24));
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(ScaleDoubleFloatToUValues, OfOneChannelDoNotDependOnPackingOrMosaic)
{
    Row<double, std::uint8_t> row(Float64, UInt8, {0, 0.5, 1});
    row.src->packing = row.dst->packing = unknownPacking;
    row.src->bayerGrid = BayerRGGB;
    ASSERT_EQ(ScaleDoubleFloatToU(row.src, row.dst, 0, 1), ResultOk);
    EXPECT_EQ(row.all(), (Bytes{0, 128, 255}));
}

}  // namespace
}  // namespace ko::test
