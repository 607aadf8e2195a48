#include "oracle/contrast.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace ko::test {
namespace {

struct Levels {
    int low;
    int high;
};

/// Narrow and wide, inverted, of one level, and next to the whole range.
constexpr Levels bandsOf8Bits[] = {{50, 100}, {0, 51}, {3, 254}, {200, 40}, {77, 77}, {1, 255}};
constexpr Levels bandsOf12Bits[] = {{500, 3000}, {0, 51}, {1, 4094}, {3000, 400}, {4095, 4095}};
constexpr Levels bandsOf16Bits[] = {{500, 60000}, {30000, 30257}, {1, 65535}, {65535, 0}};

/// Every sample type and depth, with bands of its own.
template <class Body>
void forEachBand(const Body& body)
{
    for (const Levels band : bandsOf8Bits) {
        body(UInt8, 8, band);
        body(Int8, 8, band);
    }
    for (const Levels band : bandsOf12Bits)
        body(UInt16, 12, band);
    for (const Levels band : bandsOf16Bits) {
        body(UInt16, 16, band);
        body(Int16, 16, band);
    }
}

constexpr int widths[] = {0, 1, 2, 3, 7, 15, 16, 17, 31, 33, 63, 64, 65, 127, 129, 255, 256, 257, 300, 513};

std::uint32_t seedOf(const Layout& layout)
{
    return static_cast<std::uint32_t>(layout.width * 16 + layout.channels);
}

/// A source, two equal destinations for the two sides, and a mask.
struct Images {
    TestImage src, dst, expected, mask;

    Images(const Layout& from, const Layout& to)
        : src(from), dst(to), expected(to), mask(Layout{.width = from.width, .height = from.height})
    {
        src.fillRandom(seedOf(from));
        dst.fillRandom(1);
        expected.fillRandom(1);
        mask.fillSparse(seedOf(from));
    }
    void expectEqual() { ASSERT_EQ(dst.bytes(), expected.bytes()); }
};

void compareStretch(const Layout& from, int srcChannel, const Layout& to, int dstChannel, Levels band)
{
    {
        Images images(from, to);
        oracle::stretch(images.src, srcChannel, images.expected, dstChannel, nullptr, band.low, band.high);
        ASSERT_EQ(
            ThresholdAndStretchHistogram(images.src, srcChannel, images.dst, dstChannel, band.low, band.high),
            ResultOk);
        images.expectEqual();
    }
    {
        Images images(from, to);
        oracle::stretch(images.src, srcChannel, images.expected, dstChannel, &images.mask, band.low,
                        band.high);
        ASSERT_EQ(ThresholdAndStretchHistogramMasked(images.src, srcChannel, images.dst, dstChannel,
                                                     images.mask, band.low, band.high),
                  ResultOk);
        images.expectEqual();
    }
}

void compareInPlace(const Layout& layout, int channel, Levels band)
{
    {
        Images images(layout, layout);
        oracle::stretch(images.dst, channel, images.expected, channel, nullptr, band.low, band.high);
        ASSERT_EQ(ThresholdAndStretchHistogram(images.dst, channel, band.low, band.high), ResultOk);
        images.expectEqual();
    }
    {
        Images images(layout, layout);
        oracle::stretch(images.dst, channel, images.expected, channel, &images.mask, band.low, band.high);
        ASSERT_EQ(ThresholdAndStretchHistogramMasked(images.dst, images.mask, channel, band.low, band.high),
                  ResultOk);
        images.expectEqual();
    }
}

TEST(ThresholdAndStretchHistogramTargets, AgreeWithTheNaiveTwin)
{
    forEachTarget([] {
        forEachBand([](ExImageDataType type, int bits, Levels band) {
            for (const int width : widths) {
                Layout one{.width = width, .height = 3, .type = type, .bits = bits};
                compareStretch(one, 0, one, 0, band);
                compareInPlace(one, 0, band);
            }
        });
    });
}

TEST(ThresholdAndStretchHistogramTargets, AgreeBetweenChannelsOfAnyLayout)
{
    forEachTarget([] {
        forEachBand([](ExImageDataType type, int bits, Levels band) {
            for (const int width : {1, 5, 64, 259}) {
                for (const ExPixelPacking packing : {Interleaved, Planar}) {
                    const Layout three{.width = width,
                                       .height = 3,
                                       .channels = 3,
                                       .type = type,
                                       .packing = packing,
                                       .bits = bits,
                                       .padding = 3};
                    Layout five = three;
                    five.channels = 5;
                    five.misalignment = 0;
                    compareStretch(three, 2, five, 4, band);
                    compareStretch(five, 1, three, 0, band);
                    compareInPlace(three, 1, band);
                }
            }
        });
    });
}

TEST(ThresholdAndStretchHistogramMaskedTargets, AddressAMonoSourceAndAnotherPackingEachByItsOwnLayout)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        const Layout from{.width = 300, .height = 3, .type = UInt16, .packing = packing};
        Layout to = from;
        to.channels = 3;
        to.packing = packing == Planar ? Interleaved : Planar;
        Images images(from, to);
        oracle::stretch(images.src, 0, images.expected, 2, &images.mask, 100, 50000);
        ASSERT_EQ(ThresholdAndStretchHistogramMasked(images.src, 0, images.dst, 2, images.mask, 100, 50000),
                  ResultOk);
        images.expectEqual();
    }
}

void compareGray(const Layout& from, const Layout& to, Levels band)
{
    {
        Images images(from, to);
        oracle::compress(images.src, images.expected, nullptr, band.low, band.high);
        ASSERT_EQ(ThresholdAndStretchHistogramGray(images.src, images.dst, band.low, band.high), ResultOk);
        images.expectEqual();
    }
    {
        Images images(from, to);
        oracle::compress(images.src, images.expected, &images.mask, band.low, band.high);
        ASSERT_EQ(
            ThresholdAndStretchHistogramGrayMasked(images.src, images.mask, images.dst, band.low, band.high),
            ResultOk);
        images.expectEqual();
    }
    Images images(from, from);
    images.src.fillRandom(1);
    oracle::compress(images.expected, images.expected, nullptr, band.low, band.high);
    ASSERT_EQ(ThresholdAndStretchHistogramGray(images.src, images.src, band.low, band.high), ResultOk);
    ASSERT_EQ(images.src.bytes(), images.expected.bytes());
}

TEST(ThresholdAndStretchHistogramGrayTargets, AgreeWithTheNaiveTwin)
{
    forEachTarget([] {
        forEachBand([](ExImageDataType type, int bits, Levels band) {
            if (band.low > band.high)
                return;
            for (const int width : {0, 1, 17, 64, 257})
                for (const int channels : {1, 2, 3, 4, 5})
                    for (const ExPixelPacking packing : {Interleaved, Planar}) {
                        const Layout layout{.width = width,
                                            .height = 2,
                                            .channels = channels,
                                            .type = type,
                                            .packing = packing,
                                            .bits = bits};
                        compareGray(layout, layout, band);
                    }
        });
    });
}

/// Bands whose whole results doubles reach all, or none of, or some of; full and narrow ones. The first ones
/// are of 12 bits, too.
constexpr Levels bandsOfWords[] = {{0, 4095},  {0, 1365},  {1024, 3072}, {0, 257},     {3, 4},
                                   {7, 7},     {0, 3333},  {9, 3342},    {0, 2730},    {0, 3750},
                                   {2, 3755},  {1, 4095},  {0, 65535},   {0, 65534},   {1, 65535},
                                   {0, 13107}, {5, 21850}, {0, 50178},   {9, 8652},    {0, 32768},
                                   {0, 32767}, {0, 32769}, {7, 52435},   {100, 21945}, {16384, 49152}};

/// Both ways of spreading ascending words, on every target.
void compareAscending(const Layout& layout, Levels band)
{
    TestImage src(layout), stretched(layout), compressed(layout);
    src.forEachSample([&](int x, int y, int) {
        src.set<std::uint16_t>(x, y, 0, static_cast<std::uint16_t>(y * layout.width + x));
    });
    oracle::compress(src, compressed, nullptr, band.low, band.high);
    const bool identity = band.low == 0 && band.high == (1 << layout.bits) - 1;
    if (!identity)
        oracle::stretch(src, 0, stretched, 0, nullptr, band.low, band.high);
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(ThresholdAndStretchHistogramGray(src, dst, band.low, band.high), ResultOk);
        ASSERT_EQ(dst.bytes(), compressed.bytes()) << band.low << " to " << band.high;
        ASSERT_EQ(ThresholdAndStretchHistogram(src, 0, dst, 0, band.low, band.high), ResultOk);
        ASSERT_EQ(dst.bytes(), identity ? src.bytes() : stretched.bytes()) << band.low << " to " << band.high;
    });
}

TEST(ThresholdAndStretchHistogramTargets, SpreadEveryWordExactly)
{
    for (const int bits : {12, 15, 16})
        for (const Levels band : bandsOfWords)
            if (band.high < 1 << bits)
                compareAscending({.width = 1024, .height = 64, .type = UInt16, .bits = bits}, band);
}

TEST(ThresholdAndStretchHistogramTargets, SpreadEveryBandOfNineBitsExactly)
{
    for (int width = 0; width < 512; ++width) {
        const int low = std::min(width % 7, 511 - width);
        compareAscending({.width = 259, .height = 2, .type = UInt16, .bits = 9}, {low, low + width});
    }
}

TEST(ThresholdAndStretchHistogramGrayTargets, WriteTheChannelsThatTheDestinationHas)
{
    for (const ExPixelPacking packing : {Interleaved, Planar})
        for (const int from : {1, 2, 3, 4})
            for (const int to : {1, 2, 3, 6}) {
                Layout src{.width = 70, .height = 2, .channels = from, .packing = packing};
                Layout dst = src;
                dst.channels = to;
                compareGray(src, dst, {10, 240});
            }
}

void compareRaw(const Layout& from, int dstChannels, Levels band)
{
    Layout to = from;
    to.channels = dstChannels;
    if (band.low <= band.high) {
        Images images(from, to);
        oracle::compressRaw(images.src, images.expected, nullptr, band.low, band.high);
        ASSERT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(images.src, images.dst, band.low, band.high),
                  ResultOk);
        images.expectEqual();
    }
    for (const bool masked : {false, true}) {
        Images images(from, to);
        const int channel = dstChannels - 1;
        oracle::stretchGreen(images.src, images.expected, channel, masked ? &images.mask : nullptr, band.low,
                             band.high);
        ASSERT_EQ(masked ? ThresholdAndStretchHistogramGreenRawPlanarMasked(images.src, images.dst, channel,
                                                                            images.mask, band.low, band.high)
                         : ThresholdAndStretchHistogramGreenRawPlanar(images.src, images.dst, channel,
                                                                      band.low, band.high),
                  ResultOk);
        images.expectEqual();
    }
}

TEST(ThresholdAndStretchHistogramRawPlanarTargets, AgreeWithTheNaiveTwin)
{
    forEachTarget([] {
        forEachBand([](ExImageDataType type, int bits, Levels band) {
            const Layout raw{.height = 2, .channels = 4, .type = type, .packing = Planar, .bits = bits};
            for (const int width : {0, 1, 17, 64, 257})
                for (const int channels : {1, 2, 3, 4}) {
                    Layout layout = raw;
                    layout.width = width;
                    compareRaw(layout, channels, band);
                    compareRaw(layout, channels, {0, (1 << bits) - 1});
                }
        });
    });
}

TEST(ThresholdAndStretchHistogramThreads, AgreeWithTheNaiveTwinWhereSeveralAreAllowed)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const ExPixelPacking packing : {Interleaved, Planar}) {
                const Layout three{
                    .width = 300, .height = 23, .channels = 3, .type = type, .packing = packing};
                const Layout one{.width = 300, .height = 23, .type = type};
                const Levels band{10, 200};
                compareStretch(one, 0, one, 0, band);
                compareStretch(three, 1, three, 2, band);
                compareInPlace(three, 1, band);
                compareGray(three, three, band);
                compareGray(one, one, band);
                compareRaw({.width = 300, .height = 23, .channels = 4, .type = type, .packing = Planar}, 3,
                           band);
            }
    });
}

}  // namespace
}  // namespace ko::test
