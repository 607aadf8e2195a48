#include "base/dispatch.h"
#include "oracle/threshold.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/pixel.h>

#include <gtest/gtest.h>

#include <vector>

namespace ko::test {
namespace {

/// Per-channel levels taken from an image's own samples, so that samples equal to a threshold occur.
template <class T>
struct SampleLevels {
    std::vector<T> thresholds, lows, highs;
    std::vector<QVariant> thresholdVariants, lowVariants, highVariants;
    std::vector<std::uint8_t> byteHighs, byteLows;

    explicit SampleLevels(const TestImage& image)
    {
        const std::vector<T> samples = image.all<T>();
        for (int c = 0; c < image.buf().channels; ++c) {
            const auto channel = static_cast<std::size_t>(c);
            thresholds.push_back(channel < samples.size() ? samples[channel] : T(9));
            lows.push_back(T(3 + c));
            highs.push_back(T(40 + c));
            thresholdVariants.push_back(QVariant::fromValue(thresholds.back()));
            lowVariants.push_back(QVariant::fromValue(lows.back()));
            highVariants.push_back(QVariant::fromValue(highs.back()));
            byteHighs.push_back(static_cast<std::uint8_t>(250 - c));
            byteLows.push_back(0);
        }
    }
};

std::uint32_t seedOf(const Layout& layout)
{
    return static_cast<std::uint32_t>(layout.width * 16 + layout.channels);
}

template <class T>
void compareBinary(const Layout& layout)
{
    TestImage src(layout), dst(layout), expected(layout);
    src.fillRandom(seedOf(layout));
    const SampleLevels<T> levels(src);
    dst.fillBytes(17);
    expected.fillBytes(17);
    oracle::thresholdBinary<T, T>(src, expected, levels.thresholds, levels.lows, levels.highs,
                                  layout.type == UInt8);
    ASSERT_EQ(ThresholdBinary(src, dst, levels.thresholdVariants.data(), levels.lowVariants.data(),
                              levels.highVariants.data()),
              ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes());
}

/// The copy form onto its own source, and the in-place form.
template <class T>
void compareInPlace(const Layout& layout)
{
    TestImage image(layout), expected(layout);
    image.fillRandom(seedOf(layout));
    expected.fillRandom(seedOf(layout));
    const SampleLevels<T> levels(image);
    oracle::thresholdBinary<T, T>(expected, expected, levels.thresholds, levels.lows, levels.highs,
                                  layout.type == UInt8);
    ASSERT_EQ(ThresholdBinary(image, image, levels.thresholdVariants.data(), levels.lowVariants.data(),
                              levels.highVariants.data()),
              ResultOk);
    ASSERT_EQ(image.bytes(), expected.bytes());
    if (layout.channels != 1 || std::is_floating_point_v<T>)
        return;
    image.fillRandom(seedOf(layout));
    ASSERT_EQ(
        ThresholdBinary(image, levels.thresholdVariants[0], levels.lowVariants[0], levels.highVariants[0]),
        ResultOk);
    ASSERT_EQ(image.bytes(), expected.bytes());
}

template <class T>
void compareMark(const Layout& layout, int dstChannels, bool fourChannelRule)
{
    TestImage src(layout);
    src.fillRandom(seedOf(layout));
    SampleLevels<T> levels(src);
    const Layout dstLayout{
        .width = layout.width, .height = layout.height, .channels = dstChannels, .packing = layout.packing};
    TestImage dst(dstLayout), expected(dstLayout);
    dst.fillBytes(17);
    expected.fillBytes(17);
    oracle::thresholdBinary<T, std::uint8_t>(src, expected, levels.thresholds, levels.byteLows,
                                             levels.byteHighs, fourChannelRule);
    ASSERT_EQ(ThresholdBinaryGT(src, dst, levels.thresholdVariants.data(), levels.byteHighs.data(),
                                fourChannelRule),
              ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes());
}

template <class T>
void compareKeep(const Layout& layout, bool fourChannelRule)
{
    TestImage image(layout), expected(layout);
    image.fillRandom(seedOf(layout));
    expected.fillRandom(seedOf(layout));
    const SampleLevels<T> levels(image);
    oracle::thresholdGT<T>(expected, levels.thresholds, levels.lows, fourChannelRule);
    ASSERT_EQ(ThresholdGT(image, levels.thresholdVariants.data(), levels.lowVariants.data(), fourChannelRule),
              ResultOk);
    ASSERT_EQ(image.bytes(), expected.bytes());
}

/// Every operation on one layout.
void compareWithTwins(const Layout& layout)
{
    SCOPED_TRACE(testing::Message() << "type " << layout.type << " width " << layout.width << " channels "
                                    << layout.channels << " packing " << layout.packing);
    (void)dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        compareBinary<T>(layout);
        compareInPlace<T>(layout);
        compareMark<T>(layout, layout.channels, false);
        compareKeep<T>(layout, false);
        if (layout.channels == 4) {
            compareMark<T>(layout, 4, true);
            compareKeep<T>(layout, true);
        }
    });
}

TEST(ThresholdTargets, EqualTheTwinsForEveryTypeAndWidthOfMonoAndColour)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 3})
                for (int width = 0; width <= 131; ++width)
                    compareWithTwins({.width = width,
                                      .height = 2,
                                      .channels = channels,
                                      .type = type,
                                      .padding = width % 4,
                                      .misalignment = 3});
    });
}

TEST(ThresholdTargets, EqualTheTwinsForEveryLayout)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (const int channels : {2, 3, 4, 5, 7, 64, 65, 100})
                    for (const int width : {1, 2, 37})
                        compareWithTwins({.width = width,
                                          .height = 2,
                                          .channels = channels,
                                          .type = type,
                                          .packing = packing});
    });
}

TEST(ThresholdTargets, EqualTheTwinsInLongRowsOfFourChannels)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int width : {63, 64, 65, 150})
                compareWithTwins(
                    {.width = width, .height = 3, .channels = 4, .type = type, .misalignment = 3});
    });
}

TEST(ThresholdTargets, MarkIntoImagesOfOtherChannelCounts)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (int srcChannels = 1; srcChannels <= 5; ++srcChannels)
                    for (int dstChannels = 1; dstChannels <= 5; ++dstChannels)
                        for (const bool rule : {false, true})
                            (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                                compareMark<T>({.width = 19,
                                                .height = 2,
                                                .channels = srcChannels,
                                                .type = type,
                                                .packing = packing},
                                               dstChannels, rule);
                            });
    });
}

TEST(ThresholdThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        for (const ExPixelPacking packing : {Interleaved, Planar})
            for (const int channels : {1, 3, 4})
                compareWithTwins(
                    {.width = 21, .height = 40, .channels = channels, .type = UInt8, .packing = packing});
    });
}

TEST(ThresholdThreads, GiveTheSameBytesWhereRowsHaveNoGaps)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (const int channels : {1, 3})
                    compareWithTwins({.width = 131,
                                      .height = 300,
                                      .channels = channels,
                                      .type = type,
                                      .packing = packing,
                                      .padding = 0});
    });
}

}  // namespace
}  // namespace ko::test
