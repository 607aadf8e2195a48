#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/pixel.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Variants = std::vector<QVariant>;

struct InPlaceArgs {
    TestImage image{Layout{.type = UInt16}};
    Bytes before = image.bytes();

    ResultCode call() { return ThresholdBinary(image, 3, 10, 20); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(ThresholdBinaryChecks, RunInOrderAndLeaveTheImageAlone)
{
    runCheckTable<InPlaceArgs>({
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg1},
        {"image of negative width", [](auto& a) { a.image->width = -1; }, ResultBadArg1},
        {"image not mono", [](auto& a) { a.image->channels = 3; }, ResultBadArg1},
        {"single floats", [](auto& a) { a.image->dataType = Float32; }, ResultUnsupportedType},
        {"type of 16 bytes", [](auto& a) { a.image->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.image->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.image->dataType = typeCode(12); }, ResultUnsupportedType},
        {"doubles", [](auto& a) { a.image->dataType = Float64; }, ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.image->stride = 7; }, ResultBadArg1},
    });
}

struct CopyArgs {
    Layout layout{.channels = 3, .type = UInt16};
    TestImage src{layout};
    TestImage mask{Layout{}};
    TestImage dst{layout};
    Bytes before;
    Variants numbers{5, 6, 7};
    const QVariant* thresholds = numbers.data();
    const QVariant* lows = numbers.data();
    const QVariant* highs = numbers.data();

    CopyArgs()
    {
        dst.fillBytes(99);
        before = dst.bytes();
    }
    ResultCode call() { return ThresholdBinary(src, dst, thresholds, lows, highs); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setType(int code) { src->dataType = dst->dataType = typeCode(code); }
    void setPacking(int code) { src->packing = dst->packing = static_cast<ExPixelPacking>(code); }
};

struct MaskedArgs : CopyArgs {
    ResultCode call() { return ThresholdBinaryMasked(src, mask, dst, thresholds, lows, highs); }
};

template <class Args>
void appendCopyRows(std::vector<CheckRow<Args>>& rows, ResultCode badDst)
{
    const auto after = [&](std::uint32_t places) { return static_cast<ResultCode>(badDst + places); };
    const std::vector<CheckRow<Args>> common{
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, badDst},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, badDst},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, badDst},
        {"dst of other channels", [](auto& a) { a.dst->channels = 2; }, badDst},
        {"dst of another depth", [](auto& a) { a.dst->bitsPerSample = 12; }, badDst},
        {"dst of another mosaic", [](auto& a) { a.dst->bayerGrid = BayerRGGB; }, badDst},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int16; }, badDst},
        {"dst of another packing", [](auto& a) { a.dst->packing = Planar; }, badDst},
        {"dst of another pixel format", [](auto& a) { a.dst->pixelFormat = 2; }, badDst},
        {"thresholds null", [](auto& a) { a.thresholds = nullptr; }, after(1)},
        {"lows null", [](auto& a) { a.lows = nullptr; }, after(2)},
        {"highs null", [](auto& a) { a.highs = nullptr; }, after(3)},
        {"type of 16 bytes", [](auto& a) { a.setType(Sample128); }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.setType(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.setType(12); }, ResultUnsupportedType},
        {"packing 2", [](auto& a) { a.setPacking(2); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 23; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 23; }, badDst},
    };
    rows.insert(rows.end(), common.begin(), common.end());
}

TEST(ThresholdBinaryCopyChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    std::vector<CheckRow<CopyArgs>> rows{
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
    };
    appendCopyRows(rows, ResultBadArg2);
    runCheckTable(rows);
}

TEST(ThresholdBinaryCopyChecks, RefuseThreeChannelsForFour)
{
    TestImage src(Layout{.channels = 4}), dst(Layout{.channels = 3});
    const Variants numbers(4, 1);
    EXPECT_EQ(ThresholdBinary(src, dst, numbers.data(), numbers.data(), numbers.data()), ResultBadArg2);
    EXPECT_EQ(dst.all<std::uint8_t>(), Bytes(36, 0));
}

TEST(ThresholdBinaryMaskedChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    std::vector<CheckRow<MaskedArgs>> rows{
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 2; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
    };
    appendCopyRows(rows, ResultBadArg3);
    runCheckTable(rows);
}

struct MarkArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    TestImage dst{Layout{.channels = 3}};
    Bytes before;
    Variants numbers{5, 6, 7};
    Bytes bytes{1, 2, 3};
    const QVariant* thresholds = numbers.data();
    unsigned char* highs = bytes.data();

    MarkArgs()
    {
        dst.fillBytes(99);
        before = dst.bytes();
    }
    ResultCode call() { return ThresholdBinaryGT(src, dst, thresholds, highs, false); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setPacking(int code) { src->packing = dst->packing = static_cast<ExPixelPacking>(code); }
};

TEST(ThresholdBinaryGTChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<MarkArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst not UInt8", [](auto& a) { a.dst->dataType = Int8; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg2},
        {"dst of another packing", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg2},
        {"thresholds null", [](auto& a) { a.thresholds = nullptr; }, ResultBadArg3},
        {"highs null", [](auto& a) { a.highs = nullptr; }, ResultBadArg4},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultUnsupportedType},
        {"packing 2", [](auto& a) { a.setPacking(2); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 23; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg2},
    });
}

struct KeepArgs {
    TestImage image{Layout{.channels = 3, .type = UInt16}};
    Bytes before = image.bytes();
    Variants numbers{5, 6, 7};
    const QVariant* thresholds = numbers.data();
    const QVariant* values = numbers.data();

    ResultCode call() { return ThresholdGT(image, thresholds, values, false); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(ThresholdGTChecks, RunInOrderAndLeaveTheImageAlone)
{
    runCheckTable<KeepArgs>({
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg1},
        {"image of negative width", [](auto& a) { a.image->width = -1; }, ResultBadArg1},
        {"thresholds null", [](auto& a) { a.thresholds = nullptr; }, ResultBadArg2},
        {"values null", [](auto& a) { a.values = nullptr; }, ResultBadArg3},
        {"type of 16 bytes", [](auto& a) { a.image->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.image->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.image->dataType = typeCode(12); }, ResultUnsupportedType},
        {"packing -1", [](auto& a) { a.image->packing = static_cast<ExPixelPacking>(-1); },
         ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.image->stride = 23; }, ResultBadArg1},
    });
}

TEST(ThresholdBinaryValues, CompareSignedSamplesAsSigned)
{
    TestImage image(Layout{.width = 3, .height = 1, .type = Int8});
    image.setAll<std::int8_t>({-1, -128, 0});
    ASSERT_EQ(ThresholdBinary(image, -1, 10, 20), ResultOk);
    EXPECT_EQ(image.all<std::int8_t>(), (std::vector<std::int8_t>{10, 10, 20}));
}

TEST(ThresholdBinaryValues, CutTheirNumbersToTheSampleUnlikeTheCopyForm)
{
    TestImage image(Layout{.width = 3, .height = 1});
    image.setAll<std::uint8_t>({43, 44, 45});
    ASSERT_EQ(ThresholdBinary(image, 300, QVariant("abc"), -1), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{0, 0, 255}));
}

TEST(ThresholdBinaryValues, IgnoreThePackingOfAMonoImage)
{
    TestImage image(Layout{});
    image->packing = static_cast<ExPixelPacking>(7);
    ASSERT_EQ(ThresholdBinary(image, 0, 4, 5), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 4));
}

TEST(ThresholdBinaryCopyValues, OfFloatsTakeNaNAsAboveNothing)
{
    const float nan = std::nanf("");
    TestImage src(Layout{.width = 4, .height = 1, .type = Float32});
    TestImage dst(Layout{.width = 4, .height = 1, .type = Float32});
    src.setAll<float>({nan, 0.5F, std::nextafter(0.5F, 1.0F), -1.0F});
    const QVariant threshold(0.5F), low(-2.5F), high(3.5F), none(nan);
    ASSERT_EQ(ThresholdBinary(src, dst, &threshold, &low, &high), ResultOk);
    EXPECT_EQ(dst.all<float>(), (std::vector<float>{-2.5F, -2.5F, 3.5F, -2.5F}));
    ASSERT_EQ(ThresholdBinary(src, dst, &none, &low, &high), ResultOk);
    EXPECT_EQ(dst.all<float>(), std::vector<float>(4, -2.5F));
}

TEST(ThresholdBinaryCopyValues, OfColoursMayBeTheSameForAllChannels)
{
    forEachTarget([] {
        for (const int width : {1, 7, 64, 200}) {
            const Layout layout{.width = width, .height = 2, .channels = 3};
            TestImage src(layout), dst(layout);
            src.fillRandom(static_cast<std::uint32_t>(width));
            const Variants thresholds(3, 100), lows(3, 7), highs(3, 200);
            ASSERT_EQ(ThresholdBinary(src, dst, thresholds.data(), lows.data(), highs.data()), ResultOk);
            EXPECT_TRUE(dst.guardsIntact());
            src.forEachSample([&](int x, int y, int c) {
                ASSERT_EQ(dst.get<std::uint8_t>(x, y, c), src.get<std::uint8_t>(x, y, c) > 100 ? 200 : 7);
            });
        }
    });
}

TEST(ThresholdBinaryCopyValues, TellZerosOfBothSignsApart)
{
    const Layout layout{.width = 1, .height = 1, .channels = 3, .type = Float32};
    TestImage src(layout), dst(layout);
    src.setAll<float>({0, 0, 0});
    const Variants thresholds(3, 0.5F), lows{0.0F, -0.0F, 0.0F}, highs(3, 1.0F);
    ASSERT_EQ(ThresholdBinary(src, dst, thresholds.data(), lows.data(), highs.data()), ResultOk);
    EXPECT_FALSE(std::signbit(dst.get<float>(0, 0, 0)));
    EXPECT_TRUE(std::signbit(dst.get<float>(0, 0, 1)));
    EXPECT_FALSE(std::signbit(dst.get<float>(0, 0, 2)));
}

TEST(ThresholdBinaryCopyValues, ThatDoNotConvertActAsZero)
{
    TestImage src(Layout{.width = 2, .height = 1}), dst(Layout{.width = 2, .height = 1});
    src.setAll<std::uint8_t>({0, 1});
    const QVariant text("abc"), low(7), high(9);
    ASSERT_EQ(ThresholdBinary(src, dst, &text, &low, &high), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{7, 9}));
}

TEST(ThresholdBinaryCopyValues, LeaveTheFourthChannelOfBytesAndTreatThatOfWiderSamples)
{
    const Variants thresholds(4, 10), lows{1, 2, 3, 4}, highs{11, 12, 13, 14};
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4});
    TestImage dst(Layout{.width = 2, .height = 1, .channels = 4});
    src.setAll<std::uint8_t>({10, 11, 10, 11, 11, 10, 11, 10});
    dst.fillBytes(99);
    ASSERT_EQ(ThresholdBinary(src, dst, thresholds.data(), lows.data(), highs.data()), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{1, 12, 3, 99, 11, 2, 13, 99}));
    for (const ExImageDataType type : {Int8, Int16}) {
        TestImage wide(Layout{.width = 2, .height = 1, .channels = 4, .type = type});
        ASSERT_EQ(ThresholdBinary(wide, wide, thresholds.data(), lows.data(), highs.data()), ResultOk);
        EXPECT_EQ(*wide.sample(1, 0, 3), 4) << type;
    }
}

TEST(ThresholdBinaryCopyValues, TreatTheFourthPlane)
{
    const Variants thresholds(4, 10), lows{1, 2, 3, 4}, highs(4, 0);
    TestImage image(Layout{.width = 1, .height = 1, .channels = 4, .packing = Planar});
    ASSERT_EQ(ThresholdBinary(image, image, thresholds.data(), lows.data(), highs.data()), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{1, 2, 3, 4}));
}

TEST(ThresholdBinaryCopyValues, IgnoreThePackingOfAMonoImage)
{
    TestImage image(Layout{});
    image->packing = static_cast<ExPixelPacking>(7);
    const QVariant threshold(0), low(4), high(5);
    ASSERT_EQ(ThresholdBinary(image, image, &threshold, &low, &high), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 4));
}

TEST(ThresholdBinaryMaskedValues, DoNotDependOnTheMask)
{
    CopyArgs plain;
    plain.src.fillRandom(1);
    ASSERT_EQ(plain.call(), ResultOk);
    for (const int byte : {0, 1, 255}) {
        MaskedArgs masked;
        masked.src.fillRandom(1);
        masked.mask.fillBytes(static_cast<std::uint8_t>(byte));
        masked.mask->stride = 0;
        ASSERT_EQ(masked.call(), ResultOk);
        EXPECT_EQ(masked.dst.bytes(), plain.dst.bytes());
    }
}

TEST(ThresholdBinaryGTValues, MarkSamplesAboveTheThresholdOnly)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = Int16}), dst(Layout{.width = 3, .height = 1});
    src.setAll<std::int16_t>({101, 100, -5});
    const QVariant threshold(100);
    unsigned char high = 255;
    ASSERT_EQ(ThresholdBinaryGT(src, dst, &threshold, &high, false), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{255, 0, 0}));
}

TEST(ThresholdBinaryGTValues, KeepTheirByteForEverySampleType)
{
    for (const ExImageDataType type : allTypes) {
        for (const int value : {0, 1, 127, 128, 200, 255}) {
            TestImage src(Layout{.type = type}), dst(Layout{});
            const QVariant threshold(-1);
            auto high = static_cast<unsigned char>(value);
            const bool hasSign = type != UInt8 && type != UInt16 && type != UInt32 && type != UInt64;
            if (!hasSign)
                src.fillBytes(255);
            const QVariant zero(0);
            ASSERT_EQ(ThresholdBinaryGT(src, dst, hasSign ? &threshold : &zero, &high, false), ResultOk);
            EXPECT_EQ(dst.all<std::uint8_t>(), Bytes(12, high)) << type;
        }
    }
}

/// Samples 11 everywhere, thresholds 10: what every channel of the destination holds afterwards, 99 where
/// nothing was written.
Bytes marked(int srcChannels, int dstChannels, ExPixelPacking packing, bool fourChannelRule)
{
    TestImage src(
        Layout{.width = 3, .height = 2, .channels = srcChannels, .type = UInt16, .packing = packing});
    TestImage dst(Layout{.width = 3, .height = 2, .channels = dstChannels, .packing = packing});
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < srcChannels; ++c)
                src.set<std::uint16_t>(x, y, c, 11);
    dst.fillBytes(99);
    const Variants thresholds(static_cast<std::size_t>(srcChannels), 10);
    Bytes highs{1, 2, 3, 4, 5};
    EXPECT_EQ(ThresholdBinaryGT(src, dst, thresholds.data(), highs.data(), fourChannelRule), ResultOk);
    EXPECT_TRUE(dst.guardsIntact());
    Bytes first;
    for (int c = 0; c < dstChannels; ++c) {
        first.push_back(dst.get<std::uint8_t>(0, 0, c));
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), first.back());
    }
    return first;
}

TEST(ThresholdBinaryGTValues, LeaveTheFourthChannelByRule)
{
    EXPECT_EQ(marked(4, 4, Interleaved, true), (Bytes{1, 2, 3, 99}));
    EXPECT_EQ(marked(4, 4, Interleaved, false), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(marked(4, 4, Planar, true), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(marked(5, 5, Interleaved, true), (Bytes{1, 2, 3, 4, 5}));
}

TEST(ThresholdBinaryGTValues, StepEachImageByItsOwnChannels)
{
    EXPECT_EQ(marked(3, 4, Interleaved, false), (Bytes{1, 2, 3, 99}));
    EXPECT_EQ(marked(4, 3, Interleaved, true), (Bytes{1, 2, 3}));
    EXPECT_EQ(marked(4, 3, Interleaved, false), (Bytes{1, 2, 3}));
    EXPECT_EQ(marked(3, 1, Interleaved, false), (Bytes{1}));
    EXPECT_EQ(marked(1, 3, Interleaved, false), (Bytes{1, 99, 99}));
    EXPECT_EQ(marked(3, 2, Planar, false), (Bytes{1, 2}));
    EXPECT_EQ(marked(1, 2, Planar, false), (Bytes{1, 99}));
}

TEST(ThresholdGTValues, KeepSamplesAboveTheThreshold)
{
    TestImage image(Layout{.width = 4, .height = 1, .type = Int16});
    image.setAll<std::int16_t>({-300, 5, 6, 400});
    const QVariant threshold(5), value(-7);
    ASSERT_EQ(ThresholdGT(image, &threshold, &value, false), ResultOk);
    EXPECT_EQ(image.all<std::int16_t>(), (std::vector<std::int16_t>{-7, -7, 6, 400}));
}

TEST(ThresholdGTValues, KeepNaN)
{
    TestImage image(Layout{.width = 2, .height = 1, .type = Float64});
    image.setAll<double>({std::nan(""), -1.0});
    const QVariant threshold(0.0), value(8.0), none(std::nan(""));
    ASSERT_EQ(ThresholdGT(image, &threshold, &value, false), ResultOk);
    EXPECT_TRUE(std::isnan(image.get<double>(0, 0)));
    EXPECT_EQ(image.get<double>(1, 0), 8.0);
    ASSERT_EQ(ThresholdGT(image, &none, &value, false), ResultOk);
    EXPECT_EQ(image.get<double>(1, 0), 8.0);
}

TEST(ThresholdGTValues, ChangeTheFirstPlaneOnly)
{
    TestImage image(Layout{.width = 2, .height = 1, .channels = 2, .packing = Planar});
    image.fillBytes(3);
    const Variants thresholds{5, 200}, values{50, 60};
    ASSERT_EQ(ThresholdGT(image, thresholds.data(), values.data(), false), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{50, 3, 50, 3}));
}

TEST(ThresholdGTValues, LeaveTheFourthChannelByRule)
{
    const Variants thresholds(4, 10), values{1, 2, 3, 4};
    TestImage image(Layout{.width = 2, .height = 1, .channels = 4});
    image.setAll<std::uint8_t>({10, 11, 0, 0, 11, 10, 255, 5});
    ASSERT_EQ(ThresholdGT(image, thresholds.data(), values.data(), true), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{1, 11, 3, 0, 11, 2, 255, 5}));
    ASSERT_EQ(ThresholdGT(image, thresholds.data(), values.data(), false), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{1, 11, 3, 4, 11, 2, 255, 4}));
}

TEST(ThresholdGTValues, LeaveEverySampleOfTheFourthChannelByRule)
{
    const Variants numbers(4, 0);
    TestImage floats(Layout{.width = 3, .height = 1, .channels = 4, .type = Float32});
    const float least = -std::numeric_limits<float>::infinity();
    for (int x = 0; x < 3; ++x)
        floats.set<float>(x, 0, 3, x == 0 ? least : x == 1 ? std::nanf("") : -0.0F);
    const Bytes before = floats.bytes();
    ASSERT_EQ(ThresholdGT(floats, numbers.data(), numbers.data(), true), ResultOk);
    EXPECT_EQ(floats.bytes(), before);
    TestImage integers(Layout{.width = 1, .height = 1, .channels = 4, .type = Int64});
    integers.set<std::int64_t>(0, 0, 3, std::numeric_limits<std::int64_t>::min());
    ASSERT_EQ(ThresholdGT(integers, numbers.data(), numbers.data(), true), ResultOk);
    EXPECT_EQ(integers.get<std::int64_t>(0, 0, 3), std::numeric_limits<std::int64_t>::min());
}

TEST(ThresholdGTValues, IgnoreThePackingOfAMonoImage)
{
    TestImage image(Layout{});
    image->packing = static_cast<ExPixelPacking>(7);
    const QVariant threshold(0), value(4);
    ASSERT_EQ(ThresholdGT(image, &threshold, &value, true), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 4));
}

TEST(ThresholdGTValues, OfImagesWithoutSamplesAreNone)
{
    const QVariant number(1);
    unsigned char high = 1;
    for (const int channels : {0, -2}) {
        TestImage image(Layout{});
        const Bytes before = image.bytes();
        image->channels = channels;
        EXPECT_EQ(ThresholdGT(image, &number, &number, false), ResultOk);
        EXPECT_EQ(ThresholdBinary(image, image, &number, &number, &number), ResultOk);
        EXPECT_EQ(ThresholdBinaryGT(image, image, &number, &high, false), ResultOk);
        EXPECT_EQ(image.bytes(), before);
    }
    TestImage flat(Layout{.height = 0});
    EXPECT_EQ(ThresholdGT(flat, &number, &number, false), ResultOk);
    EXPECT_EQ(ThresholdBinary(flat, number, number, number), ResultOk);
    EXPECT_EQ(ThresholdBinary(flat, flat, &number, &number, &number), ResultOk);
}

}  // namespace
}  // namespace ko::test
