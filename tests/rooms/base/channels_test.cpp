#include "base/channels.h"
#include "support/test_image.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

TEST(ChannelAt, FindsTheSamplesOfEveryLayout)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        const TestImage image(Layout{.channels = 3, .type = UInt16, .packing = packing});
        for (int c = 0; c < 3; ++c) {
            const ChannelSamples<const std::uint8_t> samples = channelAt(image.buf(), c);
            EXPECT_EQ(samples.at<std::uint16_t>(0, 0), image.sample(0, 0, c));
            EXPECT_EQ(samples.at<std::uint16_t>(3, 2), image.sample(3, 2, c));
        }
    }
}

TEST(ChannelAt, FindsNothingWhereTheImageHasNoSuchChannel)
{
    const TestImage image(Layout{.channels = 3});
    EXPECT_EQ(channelAt(image.buf(), 3).first, nullptr);
    EXPECT_EQ(channelAt(image.buf(), -1).first, nullptr);
    EXPECT_EQ(channelOf(image.buf(), 3).first, nullptr);
}

TEST(MaskBytes, AreZeroWhereTheMaskHasNone)
{
    TestImage mask(Layout{.width = 4, .height = 2});
    mask.fillBytes(7);
    EXPECT_EQ(maskByte(mask, 3, 1), 7);
    for (const auto& [x, y] : {std::pair{-1, 0}, {0, -1}, {4, 0}, {0, 2}})
        EXPECT_EQ(maskByte(mask, x, y), 0) << x << ' ' << y;
}

TEST(Gather, BringsSamplesTogetherThatScatterPutsApart)
{
    const std::uint16_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::uint16_t together[3];
    gather<std::uint16_t>(bytesOf(pixels[1]), 3, 3, reinterpret_cast<std::uint8_t*>(together));
    EXPECT_EQ(std::vector<int>(together, together + 3), (std::vector<int>{2, 5, 8}));
    std::uint16_t apart[9] = {};
    const std::uint8_t mask[] = {0, 1, 255};
    scatter<std::uint16_t>(bytesOf(together[0]), reinterpret_cast<std::uint8_t*>(apart), 3, 3, mask);
    EXPECT_EQ(std::vector<int>(apart, apart + 9), (std::vector<int>{0, 0, 0, 5, 0, 0, 8, 0, 0}));
}

/// The pixels visited in runs of three, and how many runs that took.
struct Visited {
    std::vector<std::pair<std::int64_t, std::int64_t>> pixels;
    int runs = 0;

    explicit Visited(const Selection& selection)
    {
        forEachRun<3>(selection,
                      [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
                          ++runs;
                          EXPECT_LE(count, 3);
                          for (std::int64_t i = 0; i < count; ++i) {
                              if (mask == nullptr || mask[i] != 0)
                                  pixels.emplace_back(x + i, y);
                          }
                      });
    }
};

using Pixels = std::vector<std::pair<std::int64_t, std::int64_t>>;

TEST(ForEachRun, CoversARectangleRowByRow)
{
    const Visited visited(Selection(QRect(2, 1, 4, 2)));
    EXPECT_EQ(visited.pixels, (Pixels{{2, 1}, {3, 1}, {4, 1}, {5, 1}, {2, 2}, {3, 2}, {4, 2}, {5, 2}}));
    EXPECT_EQ(visited.runs, 4);
    EXPECT_EQ(Visited(Selection(QRect(2, 1, 0, 2))).runs, 0);
}

TEST(ForEachRun, VisitsWhatBothMasksSelect)
{
    TestImage mask(Layout{.width = 8, .height = 2}), stencil(Layout{.width = 5, .height = 1});
    mask.fillBytes(0);
    stencil.fillBytes(0);
    for (const int x : {3, 5, 6, 7})
        mask.set<std::uint8_t>(x, 1, 1);
    for (const int x : {0, 1, 3, 4})
        stencil.set<std::uint8_t>(x, 0, 255);
    EXPECT_EQ(Visited(Selection(QRect(3, 1, 5, 1), &mask.buf())).pixels,
              (Pixels{{3, 1}, {5, 1}, {6, 1}, {7, 1}}));
    EXPECT_EQ(Visited(Selection(stencil, {3, 1}, &mask.buf())).pixels, (Pixels{{3, 1}, {6, 1}, {7, 1}}));
    EXPECT_EQ(Visited(Selection(stencil, {3, 1})).pixels, (Pixels{{3, 1}, {4, 1}, {6, 1}, {7, 1}}));
}

TEST(ForEachRun, EndsWithTheSizeAndTheMemoryOfTheMask)
{
    TestImage mask(Layout{.width = 4, .height = 2});
    mask.fillBytes(1);
    const Selection larger(QRect(0, 0, 9, 9), &mask.buf());
    EXPECT_EQ(Visited(larger).pixels.size(), 8U);
    mask->stride = 3;
    EXPECT_EQ(Visited(larger).pixels.size(), 7U) << "rows that overlap, six bytes in all";
    mask->data = nullptr;
    EXPECT_EQ(Visited(larger).runs, 0);
}

}  // namespace
}  // namespace ko::test
