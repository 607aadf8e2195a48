#include "oracle/raw.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/raw.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

struct BalanceArgs {
    TestImage src{Layout{.width = 5, .type = UInt16, .bits = 12}};
    TestImage dst{Layout{.width = 5, .type = UInt16, .bits = 12}};
    std::vector<double> gains{1.5, 1, 1, 2};
    std::vector<int> blackLevels{64, 65, 66, 67};
    const double* gainData = gains.data();
    std::vector<std::uint8_t> before = dst.bytes();

    BalanceArgs()
    {
        src.fillRandom(1);
        src->bayerGrid = BayerRGGB;
    }
    ResultCode call() { return WhiteBalance(src, dst, gainData, blackLevels.data()); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(WhiteBalanceChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<BalanceArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of two channels", [](auto& a) { a.src->channels = a.dst->channels = 2; }, ResultBadArg1},
        {"src planar", [](auto& a) { a.src->packing = a.dst->packing = Planar; }, ResultBadArg1},
        {"src of an unknown grid", [](auto& a) { a.src->bayerGrid = static_cast<ExBayerGrid>(5); },
         ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst of another type", [](auto& a) { a.dst->dataType = UInt8; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 4; }, ResultBadArg2},
        {"dst of more channels", [](auto& a) { a.dst->channels = 3; }, ResultBadArg2},
        {"gains null", [](auto& a) { a.gainData = nullptr; }, ResultBadArg3},
        {"a gain below 0", [](auto& a) { a.gains[3] = -0.001; }, ResultBadArg3},
        {"a gain too large", [](auto& a) { a.gains[0] = 65535.001; }, ResultBadArg3},
        {"a gain without a number", [](auto& a) { a.gains[1] = std::numeric_limits<double>::quiet_NaN(); },
         ResultBadArg3},
        {"an infinite gain", [](auto& a) { a.gains[1] = std::numeric_limits<double>::infinity(); },
         ResultBadArg3},
        {"a black level below 0", [](auto& a) { a.blackLevels[3] = -1; }, ResultBadArg4},
        {"a black level too large", [](auto& a) { a.blackLevels[0] = 65536; }, ResultBadArg4},
        {"signed samples", [](auto& a) { a.src->dataType = a.dst->dataType = Int16; }, ResultUnsupportedType},
        {"float samples", [](auto& a) { a.src->dataType = a.dst->dataType = Float32; },
         ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 9; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 9; }, ResultBadArg2},
    });
}

TEST(WhiteBalanceChecks, LookAtAsManyNumbersAsThereAreColours)
{
    BalanceArgs args;
    args.src->bayerGrid = BayerNone;
    args.gains = {2};
    args.blackLevels = {7};
    args.gains.shrink_to_fit();
    args.blackLevels.shrink_to_fit();
    args.gainData = args.gains.data();
    EXPECT_EQ(args.call(), ResultOk);
    args.src->bayerGrid = static_cast<ExBayerGrid>(-1);
    EXPECT_EQ(args.call(), ResultBadArg1);
}

template <class T>
std::vector<T> balanced(int channels, int bits, std::initializer_list<T> samples, const double* gains,
                        const int* blackLevels, ExBayerGrid grid = BayerNone)
{
    const int width = static_cast<int>(samples.size()) / channels / (grid == BayerNone ? 1 : 2);
    TestImage image(Layout{.width = width,
                           .height = grid == BayerNone ? 1 : 2,
                           .channels = channels,
                           .type = sizeof(T) == 1 ? UInt8 : UInt16,
                           .bits = bits});
    image->bayerGrid = grid;
    image.setAll<T>(samples);
    EXPECT_EQ(WhiteBalance(image, image, gains, blackLevels), ResultOk);
    return image.all<T>();
}

TEST(WhiteBalanceValues, OfAMosaicFollowThePositions)
{
    const double gains[] = {2, 1, 0.5, 3};
    const int blackLevels[] = {10, 20, 30, 40};
    EXPECT_EQ(
        balanced<std::uint16_t>(1, 12, {110, 120, 9, 21, 130, 140, 31, 4000}, gains, blackLevels, BayerGBRG),
        (std::vector<std::uint16_t>{200, 100, 0, 1, 50, 300, 1, 4095}));
}

TEST(WhiteBalanceValues, OfChannelsFollowTheChannels)
{
    const double gains[] = {0, 1, 255.5, 1};
    EXPECT_EQ(balanced<std::uint8_t>(4, 8, {200, 7, 1, 255, 0, 0, 0, 3}, gains, nullptr),
              (std::vector<std::uint8_t>{0, 7, 255, 255, 0, 0, 0, 3}));
    EXPECT_EQ(balanced<std::uint16_t>(3, 16, {9, 1, 2, 1, 65535, 65535}, gains, nullptr),
              (std::vector<std::uint16_t>{0, 1, 511, 0, 65535, 65535}));
}

TEST(WhiteBalanceValues, AreRoundedHalvesUp)
{
    const double half = 0.5, almost = 0.49999, least = 1.0 / 65536;
    EXPECT_EQ(balanced<std::uint8_t>(1, 8, {1, 2, 3}, &half, nullptr), (std::vector<std::uint8_t>{1, 1, 2}));
    EXPECT_EQ(balanced<std::uint8_t>(1, 8, {1, 3}, &almost, nullptr), (std::vector<std::uint8_t>{0, 1}));
    EXPECT_EQ(balanced<std::uint16_t>(1, 16, {32767, 32768}, &least, nullptr),
              (std::vector<std::uint16_t>{0, 1}));
}

TEST(WhiteBalanceValues, MayHaveAnotherDepth)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = UInt16, .bits = 12});
    TestImage dst(Layout{.width = 2, .height = 1, .type = UInt16, .bits = 16});
    src.setAll<std::uint16_t>({100, 4095});
    const double gain = 16;
    ASSERT_EQ(WhiteBalance(src, dst, &gain, nullptr), ResultOk);
    EXPECT_EQ(dst.all<std::uint16_t>(), (std::vector<std::uint16_t>{1600, 65520}));
}

struct Case {
    int width, height, channels, bits;
    bool mosaic;
    std::vector<double> gains;
};

template <class T>
void compareWithTwin(const Case& c)
{
    const Layout layout{.width = c.width,
                        .height = c.height,
                        .channels = c.channels,
                        .type = sizeof(T) == 1 ? UInt8 : UInt16,
                        .padding = c.width % 4};
    TestImage src(layout), dst(layout), expected(layout);
    src.fillRandom(static_cast<std::uint32_t>(c.width));
    src->bayerGrid = c.mosaic ? BayerGRBG : BayerNone;
    dst->bitsPerSample = expected->bitsPerSample = c.bits;
    const std::vector<int> blackLevels{0, 3, 100, 65535};
    oracle::whiteBalance<T>(src, expected, c.gains, blackLevels);
    ASSERT_EQ(WhiteBalance(src, dst, c.gains.data(), blackLevels.data()), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes()) << c.width << " x " << c.channels << ", " << c.bits << " bits";
    src->bitsPerSample = c.bits;
    ASSERT_EQ(WhiteBalance(src, src, c.gains.data(), blackLevels.data()), ResultOk);
    ASSERT_EQ(src.bytes(), expected.bytes()) << "in place, " << c.width;
}

template <class T>
class WhiteBalanceTargets : public testing::Test {
};
using BalancedSamples = testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(WhiteBalanceTargets, BalancedSamples);

TYPED_TEST(WhiteBalanceTargets, EqualTheTwinForEveryWidthLayoutAndGain)
{
    const std::vector<std::vector<double>> gains{
        {1.5, 1, 2.25, 0.75}, {0.999999, 1.00001, 65535, 0}, {3.14159, 17.3, 256, 1.0 / 3}};
    constexpr int bits[] = {8, 6, 16};
    forEachTarget([&] {
        for (int width = 0; width <= 130; width += 1 + width / 40)
            for (const int channels : {1, 3, 4})
                for (std::size_t g = 0; g < gains.size(); ++g)
                    for (const bool mosaic : {false, true})
                        if (channels == 1 || !mosaic)
                            compareWithTwin<TypeParam>({width, 3, channels, bits[g], mosaic, gains[g]});
    });
}

TEST(WhiteBalanceTargets, EqualTheTwinForEveryByte)
{
    const double least = 1.0 / 65536;
    const std::vector<std::vector<double>> gains{{0.5, 1, 1.9, least},
                                                 {254.5, 255 + 1.0 / 512, 256 - least, 256},
                                                 {1.0 / 3, 128 - least, 127.5, 65535},
                                                 {0, 0.99, 2 - least, 300}};
    forEachTarget([&] {
        for (const auto& four : gains)
            for (const int bits : {0, 1, 6, 8, 12})
                for (const int black : {0, 1, 254, 256}) {
                    const Layout layout{.width = 256, .height = 1, .channels = 4, .bits = bits};
                    TestImage image(layout), expected(layout);
                    image.forEachSample(
                        [&](int x, int y, int c) { image.set(x, y, c, static_cast<std::uint8_t>(x)); });
                    const std::vector<int> blackLevels(4, black);
                    oracle::whiteBalance<std::uint8_t>(image, expected, four, blackLevels);
                    ASSERT_EQ(WhiteBalance(image, image, four.data(), blackLevels.data()), ResultOk);
                    ASSERT_EQ(image.bytes(), expected.bytes())
                        << bits << " bits, black " << black << ", first gain " << four[0];
                }
    });
}

TEST(WhiteBalanceThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] { compareWithTwin<std::uint16_t>({33, 50, 1, 14, true, {2, 1, 1, 1.7}}); });
}

}  // namespace
}  // namespace ko::test
