#include "base/dispatch.h"
#include "oracle/means.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/means.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace ko::test {
namespace {

constexpr double kept = -12345.0;

struct MeanArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    QRect roi{0, 0, 4, 3};
    std::vector<double> out = std::vector<double>(4, kept);
    double* means = out.data();

    ResultCode call() { return Mean(src, roi, means); }
    bool outputsUntouched() const { return out == std::vector<double>(4, kept); }
};

TEST(MeanChecks, RunInOrderAndLeaveTheMeansAlone)
{
    runCheckTable<MeanArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"roi left of the image", [](auto& a) { a.roi = QRect(-1, 0, 2, 2); }, ResultBadArg2},
        {"roi beyond the image", [](auto& a) { a.roi = QRect(1, 0, 4, 3); }, ResultBadArg2},
        {"means null", [](auto& a) { a.means = nullptr; }, ResultBadArg3},
        {"two colour channels", [](auto& a) { a.src->channels = 2; }, ResultOutOfRange},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 23; }, ResultBadArg1},
    });
}

TEST(MeanChecks, AcceptAnUnknownPackingAndWriteNothing)
{
    for (const int type : {2, 9, 12}) {
        MeanArgs args;
        args.src->packing = static_cast<ExPixelPacking>(2);
        args.src->dataType = typeCode(type);
        EXPECT_EQ(args.call(), ResultOk);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

struct MeanMaskedArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    TestImage mask{Layout{}};
    std::vector<double> out = std::vector<double>(4, kept);
    double* means = out.data();

    ResultCode call() { return MeanMasked(src, mask, means); }
    bool outputsUntouched() const { return out == std::vector<double>(4, kept); }
};

TEST(MeanMaskedChecks, RunInOrderAndLeaveTheMeansAlone)
{
    runCheckTable<MeanMaskedArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 3; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"means null", [](auto& a) { a.means = nullptr; }, ResultBadArg3},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

struct MeanStdDevMaskedArgs {
    TestImage src{Layout{.type = UInt16}};
    TestImage mask{Layout{}};
    std::vector<double> out = std::vector<double>(2, kept);
    double* mean = &out[0];
    double* stdDev = &out[1];

    ResultCode call() { return MeanStdDevMasked(src, mask, mean, stdDev); }
    bool outputsUntouched() const { return out == std::vector<double>(2, kept); }
};

TEST(MeanStdDevMaskedChecks, RunInOrderAndWriteNothing)
{
    runCheckTable<MeanStdDevMaskedArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 3; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"both outputs null", [](auto& a) { a.mean = a.stdDev = nullptr; }, ResultBadArg3},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); }, ResultFailed},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

TEST(MeanStdDevMaskedChecks, WriteTheMeanBeforeTheyRefuseTheType)
{
    for (const int type : notTypes) {
        MeanStdDevMaskedArgs args;
        args.src->dataType = typeCode(type);
        EXPECT_EQ(args.call(), ResultUnsupportedType);
        EXPECT_EQ(args.out, (std::vector<double>{0.0, kept}));
        args.mean = nullptr;
        EXPECT_EQ(args.call(), ResultUnsupportedType);
    }
}

TEST(MeanStdDevMaskedValues, MayBeWantedOneAtATime)
{
    MeanStdDevMaskedArgs args;
    args.src.setAll<std::uint16_t>({2, 4, 4, 4, 5, 5, 7, 9});
    for (int x = 0; x < 8; ++x)
        args.mask.set<std::uint8_t>(x % 4, x / 4, 255);
    args.mean = nullptr;
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.out, (std::vector<double>{kept, 2.0}));
    args.mean = &args.out[0];
    args.stdDev = nullptr;
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.out, (std::vector<double>{5.0, 2.0}));
}

TEST(MeanStdDevMaskedValues, OfASinglePixelAreItsValueAndZero)
{
    for (const ExImageDataType type : allTypes) {
        TestImage src(Layout{.type = type}), mask(Layout{});
        mask.set<std::uint8_t>(2, 1, 1);
        (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) { src.set<T>(2, 1, T{99}); });
        double mean = kept, stdDev = kept;
        ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
        EXPECT_EQ(mean, 99.0) << type;
        EXPECT_EQ(stdDev, 0.0) << type;
    }
}

TEST(MeanStdDevMaskedValues, OfNothingAreNotANumberAndZero)
{
    for (const ExImageDataType type : allTypes) {
        const TestImage src(Layout{.type = type}), mask(Layout{});
        double mean = kept, stdDev = kept, masked = kept;
        ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
        EXPECT_TRUE(std::isnan(mean)) << type;
        EXPECT_EQ(stdDev, 0.0) << type;
        ASSERT_EQ(MeanMasked(src, mask, &masked), ResultOk);
        EXPECT_TRUE(std::isnan(masked)) << type;
    }
}

TEST(MeanStdDevMaskedValues, OfAConstantHaveNoDeviation)
{
    TestImage src(Layout{.width = 300, .height = 50, .type = UInt16}),
        mask(Layout{.width = 300, .height = 50});
    src.fillBytes(0xF7);
    mask.fillBytes(1);
    double mean = kept, stdDev = kept;
    ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
    EXPECT_EQ(mean, 0xF7F7);
    EXPECT_EQ(stdDev, 0.0);
}

TEST(MeanValues, OfBytesWrapAt32Bits)
{
    // 4096 * 4128 pixels of 255 are 2^32 + 20,643,840 - 2^24 + ... in 32 bits; the exact sum is
    // 4,311,613,440.
    TestImage src(Layout{.width = 4096, .height = 4128, .padding = 0, .misalignment = 0});
    src.fillBytes(255);
    double mean = kept;
    ASSERT_EQ(Mean(src, QRect(0, 0, 4096, 4128), &mean), ResultOk);
    EXPECT_EQ(mean, (4311613440.0 - 4294967296.0) / (4096.0 * 4128.0));
}

TEST(MeanValues, OfSignedWordsWrapToTheOtherSign)
{
    TestImage src(Layout{.width = 256, .height = 257, .type = Int16});
    for (int y = 0; y < 257; ++y)
        for (int x = 0; x < 256; ++x)
            src.set<std::int16_t>(x, y, std::numeric_limits<std::int16_t>::max());
    double mean = kept;
    ASSERT_EQ(Mean(src, QRect(0, 0, 256, 257), &mean), ResultOk);
    EXPECT_EQ(mean, (32767.0 * 65792.0 - 4294967296.0) / 65792.0);
}

TEST(MeanValues, OfWideIntegersSumIn64Bits)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = UInt32});
    src.setAll<std::uint32_t>({0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU});
    double mean = kept;
    ASSERT_EQ(Mean(src, QRect(0, 0, 3, 1), &mean), ResultOk);
    EXPECT_EQ(mean, 4294967295.0);
}

TEST(MeanValues, Of64BitsDifferOnlyInTheSignOfTheSum)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = Int64});
    src.setAll<std::int64_t>({-1, -1});
    double mean = kept;
    ASSERT_EQ(Mean(src, QRect(0, 0, 2, 1), &mean), ResultOk);
    EXPECT_EQ(mean, -1.0);
    src->dataType = UInt64;
    ASSERT_EQ(Mean(src, QRect(0, 0, 2, 1), &mean), ResultOk);
    EXPECT_EQ(mean, 18446744073709551614.0 / 2.0);
}

TEST(MeanValues, OfColourAreThreeOfThreeOrFourChannels)
{
    for (const int channels : {3, 4}) {
        TestImage src(Layout{.width = 1, .height = 1, .channels = channels});
        src.setAll<std::uint8_t>({10, 20, 30, 40});
        std::vector<double> means(4, kept);
        ASSERT_EQ(Mean(src, QRect(0, 0, 1, 1), means.data()), ResultOk);
        EXPECT_EQ(means, (std::vector<double>{10, 20, 30, kept}));
    }
}

TEST(MeanValues, OfChannelsThatAreNotColourAreAllOfThem)
{
    for (const int channels : {2, 4, 5}) {
        TestImage src(Layout{.width = 1, .height = 1, .channels = channels});
        src.setAll<std::uint8_t>({10, 20, 30, 40, 50});
        src->pixelFormat = 7;
        std::vector<double> means(5, kept);
        ASSERT_EQ(Mean(src, QRect(0, 0, 1, 1), means.data()), ResultOk);
        for (int c = 0; c < 5; ++c)
            EXPECT_EQ(means[static_cast<std::size_t>(c)], c < channels ? 10.0 * (c + 1) : kept);
    }
}

TEST(MeanValues, OfPlanesAllComeFromTheFirstPlaneAtTheMultipliedLeft)
{
    TestImage src(Layout{.width = 4, .height = 2, .channels = 2, .packing = Planar, .padding = 0});
    src.setAll<std::uint8_t>({1, 91, 2, 92, 3, 93, 4, 94, 5, 95, 6, 96, 7, 97, 8, 98});
    std::vector<double> means(2, kept);
    ASSERT_EQ(Mean(src, QRect(0, 0, 4, 2), means.data()), ResultOk);
    EXPECT_EQ(means, (std::vector<double>{4.5, 4.5}));
    // Left 1 of two channels starts at sample 2: rows 3, 4 and 7, 8.
    ASSERT_EQ(Mean(src, QRect(1, 0, 2, 2), means.data()), ResultOk);
    EXPECT_EQ(means, (std::vector<double>{5.5, 5.5}));
    // Left 3 starts at sample 6, in the next row, and then in the next plane.
    ASSERT_EQ(Mean(src, QRect(3, 0, 1, 2), means.data()), ResultOk);
    EXPECT_EQ(means, (std::vector<double>{(7.0 + 93.0) / 2.0, (7.0 + 93.0) / 2.0}));
}

TEST(MeanValues, OfPlanesTakeNothingBehindTheImage)
{
    TestImage src(
        Layout{.width = 4, .height = 1, .channels = 3, .type = UInt16, .packing = Planar, .padding = 1});
    src.fillBytes(0);
    for (int x = 0; x < 4; ++x)
        src.set<std::uint16_t>(x, 0, 2, 1000);
    std::vector<double> means(3, kept);
    // Sample 9 starts at byte 18: where the third plane starts. Its four samples and a spare byte are left.
    ASSERT_EQ(Mean(src, QRect(3, 0, 1, 1), means.data()), ResultOk);
    EXPECT_EQ(means[2], 1000.0);
    TestImage high(Layout{.width = 2, .height = 1, .channels = 9, .type = UInt16, .packing = Planar});
    high->stride = 4;
    ASSERT_EQ(Mean(high, QRect(1, 0, 1, 1), std::vector<double>(9).data()), ResultOk);
}

TEST(MeanValues, OfARegionWithoutPixelsAreNotANumber)
{
    const TestImage src(Layout{});
    for (const QRect& roi : {QRect(), QRect(2, 1, 0, 2), QRect(1, 2, 2, 0)}) {
        double mean = kept;
        ASSERT_EQ(Mean(src, roi, &mean), ResultOk);
        EXPECT_TRUE(std::isnan(mean));
    }
}

TEST(MeanValues, OfAnImageWithoutChannelsAreNone)
{
    TestImage src(Layout{});
    double mean = kept;
    for (const int channels : {0, -3})
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            src->channels = channels;
            src->packing = packing;
            EXPECT_EQ(Mean(src, QRect(0, 0, 4, 3), &mean), ResultOk);
            EXPECT_EQ(mean, kept);
        }
}

TEST(MeanMaskedValues, LeaveOutWhatIsNotANumber)
{
    constexpr int width = 21;
    TestImage src(Layout{.width = width, .height = 2, .type = Float32});
    TestImage mask(Layout{.width = width, .height = 2});
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < width; ++x) {
            const bool isSelected = x % 3 != 0;
            src.set<float>(x, y, isSelected ? 2.0F : std::numeric_limits<float>::quiet_NaN());
            mask.set<std::uint8_t>(x, y, isSelected ? 128 : 0);
        }
    double mean = kept, stdDev = kept, spreadMean = kept;
    ASSERT_EQ(MeanMasked(src, mask, &mean), ResultOk);
    ASSERT_EQ(MeanStdDevMasked(src, mask, &spreadMean, &stdDev), ResultOk);
    EXPECT_EQ(mean, 2.0);
    EXPECT_EQ(spreadMean, 2.0);
    EXPECT_EQ(stdDev, 0.0);
}

TEST(MeanMaskedValues, GateAllChannelsOfAPixelByOneByte)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage src(Layout{.width = 2, .height = 2, .channels = 2, .type = Int8, .packing = packing});
        src.setAll<std::int8_t>({1, -1, 3, -3, 5, -5, 7, -7});
        TestImage mask(Layout{.width = 2, .height = 2});
        mask.setAll<std::uint8_t>({0, 2, 255, 0});
        std::vector<double> means(2, kept);
        ASSERT_EQ(MeanMasked(src, mask, means.data()), ResultOk);
        EXPECT_EQ(means, (std::vector<double>{4, -4}));
    }
}

/// NaNs are alike whatever their sign, which compilers choose for 0/0.
bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

void fill(TestImage& image, ExImageDataType type, std::uint32_t seed)
{
    image.fillRandom(seed);
    if (type != Float32 && type != Float64)
        return;
    // Every addition rounds: a different order of the samples shows.
    image.forEachSample([&](int x, int y, int c) {
        (void)dispatch(ByTypeOf<Float32, Float64>{}, type, {}, [&]<class T>(std::type_identity<T>) {
            image.set<T>(x, y, c, static_cast<T>(1.0 / (1.0 + x + 3.0 * y + 7.0 * c)));
        });
    });
}

/// Thousands of tiny parallel loops take long on a busy machine.
class OneThread {
public:
    OneThread() { omp_set_num_threads(1); }
    ~OneThread() { omp_set_num_threads(m_before); }
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

private:
    int m_before = omp_get_max_threads();
};

TEST(MeanTargets, EqualTheTwinForEveryTypeWidthAndChannelCount)
{
    const OneThread oneThread;
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 2, 3, 4, 5})
                for (int width = 0; width <= 200; width += channels == 1 ? 1 : 7) {
                    TestImage src(
                        Layout{.width = width + 2, .height = 4, .channels = channels, .type = type});
                    fill(src, type, static_cast<std::uint32_t>(width));
                    src->pixelFormat = 2;
                    const QRect roi(1, 1, width, 2);
                    std::vector<double> means(static_cast<std::size_t>(channels), kept);
                    ASSERT_EQ(Mean(src, roi, means.data()), ResultOk);
                    (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                        for (int c = 0; c < channels; ++c)
                            ASSERT_TRUE(
                                sameBits(means[static_cast<std::size_t>(c)], oracle::mean<T>(src, roi, c)))
                                << "type " << type << " width " << width << " channels " << channels;
                    });
                }
    });
}

/// More samples than narrow sums can hold, in one row and in many.
TEST(MeanTargets, StayExactBeyondTheNarrowSums)
{
    forEachTarget([] {
        for (const QRect& all : {QRect(0, 0, 60000, 1), QRect(0, 0, 200, 900)})
            for (const ExImageDataType type : {Int8, UInt8})
                for (const int channels : {1, 3}) {
                    TestImage src(Layout{.width = all.width(),
                                         .height = all.height(),
                                         .channels = channels,
                                         .type = type,
                                         .padding = 7});
                    src.fillBytes(type == Int8 ? 0x80 : 0xFF);
                    std::vector<double> means(3, kept);
                    ASSERT_EQ(Mean(src, all, means.data()), ResultOk);
                    EXPECT_EQ(means[0], type == Int8 ? -128.0 : 255.0);
                }
    });
}

TEST(MeanMaskedTargets, EqualTheTwinForEveryTypeWidthAndLayout)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 3, 4})
                for (const ExPixelPacking packing : {Interleaved, Planar})
                    // The last one is longer than what is brought together of a channel.
                    for (int width = 0; width <= 5000; width += width > 133 ? 4860 : channels == 1 ? 1 : 7) {
                        TestImage src(Layout{.width = width,
                                             .height = 3,
                                             .channels = channels,
                                             .type = type,
                                             .packing = packing});
                        fill(src, type, static_cast<std::uint32_t>(width));
                        TestImage mask(Layout{.width = width, .height = 3});
                        mask.fillSparse(static_cast<std::uint32_t>(width));
                        std::vector<double> means(static_cast<std::size_t>(channels), kept);
                        ASSERT_EQ(MeanMasked(src, mask, means.data()), ResultOk);
                        (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                            for (int c = 0; c < channels; ++c) {
                                const double twin = oracle::meanMasked<T>(src, mask, c);
                                const double mean = means[static_cast<std::size_t>(c)];
                                ASSERT_TRUE(sameBits(mean, twin))
                                    << "type " << type << " width " << width << " channels " << channels;
                            }
                        });
                    }
    });
}

TEST(MeanStdDevMaskedTargets, EqualTheTwinForEveryTypeAndWidth)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (int width = 0; width <= 300; ++width) {
                TestImage src(Layout{.width = width, .height = 3, .type = type});
                fill(src, type, static_cast<std::uint32_t>(width));
                TestImage mask(Layout{.width = width, .height = 3});
                mask.fillSparse(static_cast<std::uint32_t>(width));
                double mean = kept, stdDev = kept, alone = kept;
                ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
                ASSERT_EQ(MeanMasked(src, mask, &alone), ResultOk);
                ASSERT_TRUE(sameBits(mean, alone));
                (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                    const double twin = oracle::stdDevMasked<T>(src, mask);
                    ASSERT_TRUE(sameBits(stdDev, twin)) << "type " << type << " width " << width;
                });
            }
    });
}

TEST(MeanStdDevMaskedTargets, EqualTheTwinWhereTheMaskSelectsPartOfTheRowsOnly)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes) {
            TestImage src(Layout{.width = 2048, .height = 2, .type = type});
            fill(src, type, 3);
            TestImage mask(Layout{.width = 2048, .height = 2});
            mask.fillBytes(0);
            for (int x = 700; x < 1500; ++x)
                mask.set<std::uint8_t>(x, 1, static_cast<std::uint8_t>(x < 1200 || x % 3 != 0));
            double stdDev = kept;
            ASSERT_EQ(MeanStdDevMasked(src, mask, nullptr, &stdDev), ResultOk);
            (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                const double twin = oracle::stdDevMasked<T>(src, mask);
                ASSERT_TRUE(sameBits(stdDev, twin)) << "type " << type;
            });
        }
    });
}

TEST(MeanStdDevMaskedTargets, OfLargeImagesEqualTheTwinToTheLastDigit)
{
    for (const ExImageDataType type : allTypes)
        for (const int width : {1, 15, 16, 17, 31, 33, 63, 64, 65, 127, 129}) {
            const int height = 65536 / width + 1;
            TestImage src(Layout{.width = width, .height = height, .type = type});
            fill(src, type, static_cast<std::uint32_t>(width));
            TestImage mask(Layout{.width = width, .height = height});
            mask.fillSparse(static_cast<std::uint32_t>(width));
            (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                const double twinMean = oracle::meanMasked<T>(src, mask, 0);
                const double twin = oracle::stdDevMasked<T>(src, mask);
                forEachTarget([&] {
                    double mean = kept, stdDev = kept;
                    ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
                    ASSERT_TRUE(sameBits(mean, twinMean));
                    ASSERT_TRUE(sameBits(stdDev, twin)) << "type " << type << " width " << width;
                });
            });
        }
}

TEST(MeanStdDevMaskedTargets, EqualTheTwinWhereSquaresLieHalfWayBetweenTwoRoundings)
{
    // 2^14 samples whose sum is 16 more than a multiple of 32: the mean has ten binary places and every
    // square twenty. From 2^33 on, where their sum is for the second half of the image, it has nineteen.
    TestImage src(Layout{.width = 128, .height = 128, .type = UInt16, .bits = 12});
    TestImage mask(Layout{.width = 128, .height = 128});
    mask.fillBytes(1);
    std::uint32_t sum = 0;
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 128; ++x) {
            const auto value = static_cast<std::uint16_t>((x * 977 + y * y * 331) % 3400);
            src.set<std::uint16_t>(x, y, value);
            sum += value;
        }
    src.set<std::uint16_t>(0, 0,
                           static_cast<std::uint16_t>(src.get<std::uint16_t>(0, 0) + (48 - sum % 32) % 32));
    const double twin = oracle::stdDevMasked<std::uint16_t>(src, mask);
    const double squares = twin * twin * 16384;
    ASSERT_TRUE(squares > 0x1p33 && squares < 0x1p34);
    forEachTarget([&] {
        double stdDev = kept;
        ASSERT_EQ(MeanStdDevMasked(src, mask, nullptr, &stdDev), ResultOk);
        ASSERT_TRUE(sameBits(stdDev, twin));
    });
}

TEST(MeanStdDevMaskedTargets, StayExactOnLongRowsOfLargeSamples)
{
    forEachTarget([] {
        TestImage src(Layout{.width = 600000, .height = 1, .type = UInt16});
        TestImage mask(Layout{.width = 600000, .height = 1});
        mask.fillBytes(9);
        for (int x = 0; x < 600000; ++x)
            src.set<std::uint16_t>(x, 0, x % 2 == 0 ? 65535 : 65533);
        double mean = kept, stdDev = kept;
        ASSERT_EQ(MeanStdDevMasked(src, mask, &mean, &stdDev), ResultOk);
        EXPECT_EQ(mean, 65534.0);
        EXPECT_EQ(stdDev, 1.0);
    });
}

TEST(MeanThreads, GiveTheSameBitsForAnyNumber)
{
    for (const ExImageDataType type : allTypes) {
        TestImage src(Layout{.width = 33, .height = 50, .channels = 3, .type = type});
        fill(src, type, 8);
        forEachThreadCount([&] {
            std::vector<double> means(3, kept);
            ASSERT_EQ(Mean(src, QRect(0, 0, 33, 50), means.data()), ResultOk);
            (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                for (int c = 0; c < 3; ++c)
                    EXPECT_TRUE(sameBits(means[static_cast<std::size_t>(c)],
                                         oracle::mean<T>(src, QRect(0, 0, 33, 50), c)));
            });
        });
    }
}

TEST(MeanThreads, GiveTheSameBitsWhereRowsHaveNoGaps)
{
    for (const ExImageDataType type : allTypes) {
        TestImage src(Layout{.width = 131, .height = 300, .channels = 3, .type = type, .padding = 0});
        fill(src, type, 9);
        forEachThreadCount([&] {
            for (const QRect& roi : {QRect(0, 0, 131, 300), QRect(0, 7, 131, 290), QRect(1, 0, 130, 300)}) {
                std::vector<double> means(3, kept);
                ASSERT_EQ(Mean(src, roi, means.data()), ResultOk);
                (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                    for (int c = 0; c < 3; ++c)
                        EXPECT_TRUE(
                            sameBits(means[static_cast<std::size_t>(c)], oracle::mean<T>(src, roi, c)))
                            << "type " << type;
                });
            }
        });
    }
}

TEST(MeanThreads, OfPlanesWithoutGapsAreThatOfTheFirst)
{
    TestImage src(Layout{.width = 131, .height = 300, .channels = 3, .packing = Planar, .padding = 0});
    src.fillRandom(10);
    const QRect roi(0, 7, 131, 290);
    forEachThreadCount([&] {
        std::vector<double> means(3, kept);
        ASSERT_EQ(Mean(src, roi, means.data()), ResultOk);
        for (const double mean : means)
            EXPECT_EQ(mean, oracle::mean<std::uint8_t>(src, roi, 0));
    });
}

}  // namespace
}  // namespace ko::test
