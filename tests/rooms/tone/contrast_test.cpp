#include "oracle/contrast.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

constexpr int least = std::numeric_limits<int>::min();
constexpr int most = std::numeric_limits<int>::max();

/// One row of bytes stretched in place.
Bytes stretched(const Bytes& samples, int low, int high, int bits = 8)
{
    TestImage image(Layout{.width = static_cast<int>(samples.size()), .height = 1});
    image->bitsPerSample = bits;
    for (std::size_t x = 0; x < samples.size(); ++x)
        image.set<std::uint8_t>(static_cast<int>(x), 0, samples[x]);
    EXPECT_EQ(ThresholdAndStretchHistogram(image, 0, low, high), ResultOk);
    EXPECT_TRUE(image.guardsIntact());
    return image.all<std::uint8_t>();
}

Words stretchedWords(const Words& samples, int low, int high, int bits)
{
    TestImage image(Layout{.width = static_cast<int>(samples.size()), .height = 1, .type = UInt16});
    image->bitsPerSample = bits;
    for (std::size_t x = 0; x < samples.size(); ++x)
        image.set<std::uint16_t>(static_cast<int>(x), 0, samples[x]);
    EXPECT_EQ(ThresholdAndStretchHistogram(image, 0, low, high), ResultOk);
    return image.all<std::uint16_t>();
}

TEST(ThresholdAndStretchHistogramValues, TruncateTheProductInDouble)
{
    EXPECT_EQ(stretched({49, 50, 75, 100, 101}, 50, 100), (Bytes{0, 0, 127, 254, 0}));
    EXPECT_EQ(stretched({0, 1, 51, 52}, 0, 51), (Bytes{0, 5, 255, 0}));
    // 2500 * 1.638 is just below 4095 in double.
    EXPECT_EQ(stretchedWords({499, 500, 3000, 3001}, 500, 3000, 12), (Words{0, 0, 4094, 0}));
}

TEST(ThresholdAndStretchHistogramValues, OfABandOfOneLevelAreZero)
{
    EXPECT_EQ(stretched({99, 100, 101}, 100, 100), (Bytes{0, 0, 0}));
    EXPECT_EQ(stretchedWords({99, 100, 101}, 100, 100, 16), (Words{0, 0, 0}));
    EXPECT_EQ(stretched({0, 1, 255}, 0, 0, 3), (Bytes{0, 0, 0}));
}

TEST(ThresholdAndStretchHistogramValues, OfAnInvertedBandAreInverted)
{
    EXPECT_EQ(stretched({48, 49, 75, 100, 101}, 100, 50), (Bytes{0, 0, 127, 0, 0}));
    EXPECT_EQ(stretched({50, 51}, 51, 0), (Bytes{5, 0}));
}

TEST(ThresholdAndStretchHistogramValues, ReadSignedSamplesWithoutSign)
{
    TestImage image(Layout{.width = 2, .height = 1, .type = Int16});
    image.setAll<std::int16_t>({-1, 5});
    ASSERT_EQ(ThresholdAndStretchHistogram(image, 0, 65534, 65535), ResultOk);
    EXPECT_EQ(image.all<std::uint16_t>(), (Words{65535, 0}));
}

TEST(ThresholdAndStretchHistogramValues, OfTheWholeRangeStayWhateverTheType)
{
    TestImage image(Layout{.type = Float32, .bits = 8});
    image.fillRandom(1);
    TestImage mask(Layout{});
    mask.fillBytes(1);
    const Bytes before = image.bytes();
    EXPECT_EQ(ThresholdAndStretchHistogram(image, 0, 0, 255), ResultOk);
    EXPECT_EQ(ThresholdAndStretchHistogramMasked(image, mask, 0, 0, 255), ResultOk);
    EXPECT_EQ(image.bytes(), before);
    EXPECT_EQ(ThresholdAndStretchHistogram(image, -1, 0, 255), ResultBadArg2);
}

TEST(ThresholdAndStretchHistogramValues, OfTheWholeRangeAreCopiedByTheCopyForms)
{
    for (const bool masked : {false, true}) {
        TestImage src(Layout{.channels = 3}), dst(Layout{.channels = 2}), mask(Layout{});
        src.fillRandom(1);
        dst.fillBytes(9);
        ASSERT_EQ(masked ? ThresholdAndStretchHistogramMasked(src, 2, dst, 0, mask, 0, 255)
                         : ThresholdAndStretchHistogram(src, 2, dst, 0, 0, 255),
                  ResultOk);
        dst.forEachSample([&](int x, int y, int c) {
            EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), c == 0 ? src.get<std::uint8_t>(x, y, 2) : 9);
        });
        src->dataType = dst->dataType = Float32;
        EXPECT_EQ(ThresholdAndStretchHistogram(src, 2, dst, 0, 0, 255), ResultUnsupportedType);
    }
}

TEST(ThresholdAndStretchHistogramValues, OfAChannelBehindTheLastDoNotExist)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage image(Layout{.channels = 3, .packing = packing}), mask(Layout{});
        image.fillRandom(1);
        mask.fillBytes(1);
        const Bytes before = image.bytes();
        EXPECT_EQ(ThresholdAndStretchHistogram(image, 3, 10, 20), ResultOk);
        EXPECT_EQ(ThresholdAndStretchHistogramMasked(image, mask, 3, 10, 20), ResultOk);
        EXPECT_EQ(image.bytes(), before);
    }
}

TEST(ThresholdAndStretchHistogramValues, CutTheLevelsOfBytesToEightBits)
{
    EXPECT_EQ(stretched({49, 50, 75, 100, 101}, 50 + 256, 100 - 512), (Bytes{0, 0, 127, 254, 0}));
    // 65535 / 255 is 257: the results keep their low 8 bits.
    EXPECT_EQ(stretched({0, 1, 2, 255}, 0, 255, 16), (Bytes{0, 1, 2, 255}));
    EXPECT_EQ(stretched({0, 1, 2}, 0, 100, 16), (Bytes{0, 655 & 255, 1310 & 255}));
}

TEST(ThresholdAndStretchHistogramValues, OfWordsTakeAnyLevels)
{
    EXPECT_EQ(stretchedWords({0, 1, 65535}, -1, 0, 16), (Words{65535, 0, 0}));
    EXPECT_EQ(stretchedWords({0, 1, 65535}, -65535, 65535, 16), (Words{32767, 32768, 65535}));
    // The difference is 2^32 - 1, which is -1 in 32 bits.
    EXPECT_EQ(stretchedWords({0, 1, 2}, least, most, 16), (Words{0, 0, 0}));
    EXPECT_EQ(stretchedWords({0, 5}, most, least, 16), (Words{0, 0}));
    EXPECT_EQ(stretchedWords({0, 5}, 0, least, 16), (Words{0, 0}));
}

TEST(ThresholdAndStretchHistogramValues, OfOddDepthsAreDefined)
{
    for (const int bits : {-1, least, 0}) {
        EXPECT_EQ(stretched({0, 1, 200, 255}, 10, 20, bits), (Bytes{0, 0, 0, 0})) << bits;
        EXPECT_EQ(stretchedWords({0, 1, 200, 255}, 10, 20, bits), (Words{0, 0, 0, 0})) << bits;
    }
    // The top is 2^31 - 1: 15 * 214748364.7 has the low bits 0xBFFFFFFF.
    for (const int bits : {31, 32, 64, most}) {
        EXPECT_EQ(stretchedWords({10, 11, 15, 20, 21}, 10, 20, bits), (Words{0, 0xCCCC, 0xFFFF, 0xFFFF, 0}))
            << bits;
        EXPECT_EQ(stretchedWords({7}, 5, 5, bits), (Words{0})) << bits;
    }
}

TEST(ThresholdAndStretchHistogramValues, OfOddDepthsAnswerTheCopyFormsWithTheLevels)
{
    TestImage src(Layout{}), dst(Layout{});
    src->bitsPerSample = dst->bitsPerSample = -1;
    EXPECT_EQ(ThresholdAndStretchHistogram(src, 0, dst, 0, 0, 0), ResultBadArg5);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 0), ResultBadArg3);
    src->bitsPerSample = dst->bitsPerSample = 40;
    EXPECT_EQ(ThresholdAndStretchHistogram(src, 0, dst, 0, 0, most), ResultOk);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 0), ResultBadArg3);
    src->bitsPerSample = dst->bitsPerSample = 0;
    EXPECT_EQ(ThresholdAndStretchHistogram(src, 0, dst, 0, 0, 1), ResultBadArg6);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 0), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), Bytes(12, 0));
}

TEST(ThresholdAndStretchHistogramValues, OfImagesWithoutPixelsAreNone)
{
    TestImage image(Layout{}), mask(Layout{});
    const Bytes before = image.bytes();
    image->width = mask->width = 0;
    EXPECT_EQ(ThresholdAndStretchHistogram(image, 0, 3, 9), ResultOk);
    EXPECT_EQ(ThresholdAndStretchHistogramMasked(image, mask, 0, 3, 9), ResultOk);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(image, image, 3, 9), ResultOk);
    image->width = 4;
    image->height = 0;
    EXPECT_EQ(ThresholdAndStretchHistogram(image, 0, 3, 9), ResultOk);
    EXPECT_EQ(image.bytes(), before);
}

Bytes compressed(const Bytes& samples, int low, int high)
{
    TestImage image(Layout{.width = static_cast<int>(samples.size()), .height = 1});
    for (std::size_t x = 0; x < samples.size(); ++x)
        image.set<std::uint8_t>(static_cast<int>(x), 0, samples[x]);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(image, image, low, high), ResultOk);
    return image.all<std::uint8_t>();
}

TEST(ThresholdAndStretchHistogramGrayValues, DivideByTheScale)
{
    EXPECT_EQ(compressed({0, 127, 128}, 0, 127), (Bytes{0, 63, 0}));
    EXPECT_EQ(compressed({99, 100, 200, 201}, 100, 200), (Bytes{0, 0, 39, 0}));
    EXPECT_EQ(compressed({99, 100, 101}, 100, 100), (Bytes{0, 0, 0}));
    EXPECT_EQ(compressed({0, 1, 255}, 0, 255), (Bytes{0, 1, 255}));
}

TEST(ThresholdAndStretchHistogramGrayValues, OfColourAreZeroWhereOneSampleIsOutside)
{
    TestImage image(Layout{.width = 3, .height = 1, .channels = 4});
    image.setAll<std::uint8_t>({0, 60, 127, 9, 0, 60, 128, 9, 127, 127, 127, 255});
    ASSERT_EQ(ThresholdAndStretchHistogramGray(image, image, 0, 127), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{0, 29, 63, 9, 0, 0, 0, 9, 63, 63, 63, 255}));
}

TEST(ThresholdAndStretchHistogramGrayValues, OfTwoChannelsStayInAnyPacking)
{
    TestImage src(Layout{.channels = 2}), dst(Layout{.channels = 2});
    dst.fillBytes(7);
    const Bytes before = dst.bytes();
    EXPECT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 127), ResultOk);
    src->packing = dst->packing = static_cast<ExPixelPacking>(3);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 127), ResultOk);
    EXPECT_EQ(dst.bytes(), before);
}

TEST(ThresholdAndStretchHistogramGrayValues, OfAMonoImageDoNotDependOnItsPacking)
{
    TestImage image(Layout{});
    image.fillBytes(255);
    image->packing = static_cast<ExPixelPacking>(3);
    EXPECT_EQ(ThresholdAndStretchHistogramGray(image, image, 0, 127), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 0));
}

/// A 3 x 2 image of 200, compressed to 0 where the mask selects.
Bytes compressedMasked(const SxImageBuf& mask)
{
    TestImage src(Layout{.width = 3, .height = 2}), dst(Layout{.width = 3, .height = 2});
    src.fillBytes(200);
    dst.fillBytes(7);
    EXPECT_EQ(ThresholdAndStretchHistogramGrayMasked(src, mask, dst, 0, 127), ResultOk);
    return dst.all<std::uint8_t>();
}

TEST(ThresholdAndStretchHistogramGrayMaskedValues, TakeAnyMaskWithinItsOwnMemory)
{
    TestImage mask(Layout{.width = 3, .height = 2, .padding = 0});
    mask.setAll<std::uint8_t>({1, 0, 255, 0, 2, 0});
    EXPECT_EQ(compressedMasked(mask), (Bytes{0, 7, 0, 7, 0, 7}));
    SxImageBuf other = mask;
    other.dataType = Float64;
    other.channels = 5;
    EXPECT_EQ(compressedMasked(other), (Bytes{0, 7, 0, 7, 0, 7}));
    other.width = 2;
    EXPECT_EQ(compressedMasked(other), (Bytes{0, 7, 7, 7, 0, 7}));
    other.width = 3;
    other.height = 1;
    EXPECT_EQ(compressedMasked(other), (Bytes{0, 7, 0, 7, 7, 7}));
    other.height = 2;
    other.stride = 1;
    EXPECT_EQ(compressedMasked(other), (Bytes{0, 7, 7, 7, 7, 7}));
    for (const int stride : {0, -3, least}) {
        other.stride = stride;
        EXPECT_EQ(compressedMasked(other), Bytes(6, 7));
    }
    other = mask;
    other.width = -1;
    EXPECT_EQ(compressedMasked(other), Bytes(6, 7));
    EXPECT_EQ(compressedMasked(SxImageBuf{}), Bytes(6, 7));
}

/// Four planes of 2 x 1 pixels: red, green, blue, green.
struct RawPlanes {
    TestImage src{Layout{.width = 2, .height = 1, .channels = 4, .packing = Planar}};
    TestImage dst{Layout{.width = 2, .height = 1, .channels = 4, .packing = Planar}};

    RawPlanes()
    {
        src.setAll<std::uint8_t>({100, 50, 127, 51, 100, 90, 20, 255});
        dst.fillBytes(7);
    }
};

TEST(ThresholdAndStretchHistogramGrayRawPlanarValues, TakeTheMeanOfTheGreensWithoutItsHalf)
{
    RawPlanes raw;
    ASSERT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(raw.src, raw.dst, 0, 127), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), (Bytes{49, 24, 63, 7, 0, 0, 0, 7}));
}

TEST(ThresholdAndStretchHistogramGrayRawPlanarValues, OfSourcesWithoutFourPlanesAreNone)
{
    RawPlanes raw;
    const Bytes before = raw.dst.bytes();
    raw.src->channels = 3;
    EXPECT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(raw.src, raw.dst, 0, 127), ResultOk);
    raw.src->channels = -4;
    EXPECT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(raw.src, raw.dst, 0, 127), ResultOk);
    raw.src->channels = 4;
    raw.src->data = nullptr;
    raw.src->stride = 0;
    EXPECT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(raw.src, raw.dst, 0, 127), ResultOk);
    raw.src->channels = 3;
    EXPECT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(raw.src, raw.dst, 0, 127), ResultOk);
    EXPECT_EQ(raw.dst.bytes(), before);
    TestImage pixels(Layout{.channels = 4}), colour(Layout{.channels = 3});
    EXPECT_EQ(ThresholdAndStretchHistogramGrayRawPlanar(pixels, colour, 0, 127), ResultOk);
    EXPECT_TRUE(colour.guardsIntact());
}

TEST(ThresholdAndStretchHistogramGrayRawPlanarMaskedValues, SelectWithinAMaskOfAnotherSize)
{
    RawPlanes raw;
    TestImage mask(Layout{.width = 1, .height = 2, .channels = 2});
    mask.fillBytes(1);
    ASSERT_EQ(ThresholdAndStretchHistogramGrayRawPlanarMasked(raw.src, mask, raw.dst, 0, 127), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), (Bytes{49, 24, 63, 7, 7, 7, 7, 7}));
    mask.fillBytes(0);
    raw.dst.fillBytes(7);
    ASSERT_EQ(ThresholdAndStretchHistogramGrayRawPlanarMasked(raw.src, mask, raw.dst, 0, 127), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), Bytes(8, 7));
}

TEST(ThresholdAndStretchHistogramGrayValues, OfBytesDeeperThanTheirContainerKnowWholeLevels)
{
    TestImage src(Layout{.width = 3, .height = 1}), dst(Layout{.width = 3, .height = 1});
    src->bitsPerSample = dst->bitsPerSample = 10;
    src.setAll<std::uint8_t>({10, 200, 255});
    // 200 * 512 / 1023, and no byte reaches 512.
    ASSERT_EQ(ThresholdAndStretchHistogramGray(src, dst, 0, 512), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{5, 100, 127}));
    ASSERT_EQ(ThresholdAndStretchHistogramGray(src, dst, 512, 600), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{0, 0, 0}));
}

TEST(ThresholdAndStretchHistogramGreenRawPlanarValues, KeepTheHalfOfTheMeanUntilItIsStretched)
{
    RawPlanes raw;
    // Greens 50.5 and 172.5.
    ASSERT_EQ(ThresholdAndStretchHistogramGreenRawPlanar(raw.src, raw.dst, 1, 50, 100), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), (Bytes{7, 2, 7, 7, 7, 0, 7, 7}));
}

TEST(ThresholdAndStretchHistogramGreenRawPlanarValues, OfTheWholeRangeAreTheMeanWithoutItsHalf)
{
    RawPlanes raw;
    ASSERT_EQ(ThresholdAndStretchHistogramGreenRawPlanar(raw.src, raw.dst, 3, 0, 255), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), (Bytes{7, 7, 7, 50, 7, 7, 7, 172}));
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.setAll<std::uint8_t>({0, 255});
    ASSERT_EQ(ThresholdAndStretchHistogramGreenRawPlanarMasked(raw.src, raw.dst, 0, mask, 0, 255), ResultOk);
    EXPECT_EQ(raw.dst.all<std::uint8_t>(), (Bytes{7, 7, 7, 50, 172, 7, 7, 172}));
}

TEST(ThresholdAndStretchHistogramGreenRawPlanarValues, DoNotCompareBitsAndTakeAnyLevels)
{
    RawPlanes raw;
    raw.dst->bitsPerSample = 3;
    // (50.5 + 206) * 255 / 562 and (172.5 + 206) * 255 / 562: the levels are not cut to a byte.
    ASSERT_EQ(ThresholdAndStretchHistogramGreenRawPlanar(raw.src, raw.dst, 1, 50 - 256, 100 + 256), ResultOk);
    EXPECT_EQ(raw.dst.get<std::uint8_t>(0, 0, 1), 116);
    EXPECT_EQ(raw.dst.get<std::uint8_t>(1, 0, 1), 171);
    ASSERT_EQ(ThresholdAndStretchHistogramGreenRawPlanar(raw.src, raw.dst, 1, least, most), ResultOk);
}

}  // namespace
}  // namespace ko::test
