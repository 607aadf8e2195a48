// Views between images and QImages: the same pixels seen both ways, and what is refused.
#include <ko/interop/qimage.h>

#include <ko/pixel.h>

#include "pixels.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace ko::test {
namespace {

struct Equivalent {
    QImage::Format format;
    ExImageDataType type;
    int channels;
};

const Equivalent equivalents[] = {
    {QImage::Format_Grayscale8, UInt8, 1}, {QImage::Format_Grayscale16, UInt16, 1},
    {QImage::Format_RGB888, UInt8, 3},     {QImage::Format_RGBA8888, UInt8, 4},
    {QImage::Format_RGBA64, UInt16, 4},
};

const Equivalent* equivalentOf(ExImageDataType type, int channels)
{
    for (const Equivalent& each : equivalents)
        if (each.type == type && each.channels == channels)
            return &each;
    return nullptr;
}

TEST(ViewAsQImage, SharesTheMemoryOfEveryFormatOfTheTableAndNoOther)
{
    for (int type = -1; type <= 12; ++type) {
        for (int channels = -1; channels <= 5; ++channels) {
            Pixels pixels(6, 4, 4, Float64);
            pixels.view.dataType = static_cast<ExImageDataType>(type);
            pixels.view.channels = channels;
            const QImage seen = viewAsQImage(pixels.view);
            const Equivalent* expected = equivalentOf(pixels.view.dataType, channels);
            ASSERT_EQ(seen.isNull(), expected == nullptr) << "type " << type << ", channels " << channels;
            if (!expected)
                continue;
            EXPECT_EQ(seen.format(), expected->format);
            EXPECT_EQ(seen.constBits(), pixels.view.data);
            EXPECT_EQ(seen.bytesPerLine(), pixels.view.stride);
            EXPECT_EQ(seen.size(), QSize(6, 4));
        }
    }
}

TEST(ViewAsQImage, ShowsRedGreenAndBlueInThisOrder)
{
    Pixels colour(2, 1, 3, UInt8);
    EXPECT_EQ(viewAsQImage(colour.view).pixel(1, 0), qRgb(3, 4, 5));

    Pixels withAlpha(2, 1, 4, UInt8);
    EXPECT_EQ(viewAsQImage(withAlpha.view).pixelColor(1, 0), QColor(4, 5, 6, 7));

    Pixels wide(2, 1, 4, UInt16);
    EXPECT_EQ(viewAsQImage(wide.view).pixelColor(1, 0).rgba64(),
              QRgba64::fromRgba64(wide.at<std::uint16_t>(1, 0, 0), wide.at<std::uint16_t>(1, 0, 1),
                                  wide.at<std::uint16_t>(1, 0, 2), wide.at<std::uint16_t>(1, 0, 3)));

    Pixels gray(2, 2, 1, UInt16);
    gray.at<std::uint16_t>(0, 1) = 0x8040;
    EXPECT_EQ(viewAsQImage(gray.view).pixelColor(0, 1).rgba64().red(), 0x8040);
}

TEST(ViewAsQImage, PaintsIntoTheImage)
{
    Pixels pixels(3, 2, 3, UInt8, 5);
    const std::uint8_t padding = pixels.view.data[9];
    QImage view = viewAsQImage(pixels.view);
    view.fill(QColor(10, 20, 30));
    EXPECT_EQ(pixels.at<std::uint8_t>(2, 1, 0), 10);
    EXPECT_EQ(pixels.at<std::uint8_t>(2, 1, 2), 30);
    EXPECT_EQ(pixels.view.data[9], padding);
}

TEST(ViewAsQImage, OfAConstantImageIsCopiedByTheFirstChange)
{
    Pixels pixels(3, 2, 1, UInt8, 5);
    const SxImageBuf& source = pixels.view;
    QImage view = viewAsQImage(source);
    EXPECT_EQ(view.constBits(), pixels.view.data);
    view.fill(77);
    EXPECT_EQ(pixels.at<std::uint8_t>(0, 0), 0);
    EXPECT_EQ(view.constScanLine(0)[0], 77);
}

TEST(ViewAsQImage, TakesAnyStrideThatHoldsARow)
{
    Pixels pixels(3, 4, 1, UInt8);
    pixels.view.stride = 5;
    QImage view = viewAsQImage(pixels.view);
    EXPECT_EQ(view.constScanLine(3)[2], 17);
    pixels.view.stride = 3;
    EXPECT_FALSE(viewAsQImage(pixels.view).isNull());
    pixels.view.stride = 2;
    EXPECT_TRUE(viewAsQImage(pixels.view).isNull());
    pixels.view.stride = -8;
    EXPECT_TRUE(viewAsQImage(pixels.view).isNull());
}

TEST(ViewAsQImage, RefusesRowsThatQtWouldReadMisaligned)
{
    const auto isRefused = [](ExImageDataType type, int channels, int moved, int strideChange) {
        Pixels pixels(4, 2, channels, type, 16);
        pixels.view.data += moved;
        pixels.view.stride += strideChange;
        return viewAsQImage(pixels.view).isNull();
    };
    EXPECT_FALSE(isRefused(UInt8, 1, 1, 1));
    EXPECT_FALSE(isRefused(UInt8, 3, 1, 1));
    EXPECT_TRUE(isRefused(UInt16, 1, 1, 0));
    EXPECT_TRUE(isRefused(UInt16, 1, 0, 1));
    EXPECT_FALSE(isRefused(UInt16, 1, 2, 2));
    EXPECT_TRUE(isRefused(UInt8, 4, 2, 0));
    EXPECT_TRUE(isRefused(UInt8, 4, 0, 2));
    EXPECT_FALSE(isRefused(UInt8, 4, 4, 4));
    EXPECT_TRUE(isRefused(UInt16, 4, 4, 0));
    EXPECT_TRUE(isRefused(UInt16, 4, 0, 4));
    EXPECT_FALSE(isRefused(UInt16, 4, 8, 8));
}

TEST(ViewAsQImage, RefusesAbsentAndEmptyImages)
{
    Pixels pixels(4, 2, 1, UInt8);
    for (const auto spoil :
         {+[](SxImageBuf& view) { view.data = nullptr; }, +[](SxImageBuf& view) { view.width = 0; },
          +[](SxImageBuf& view) { view.width = -1; }, +[](SxImageBuf& view) { view.height = 0; },
          +[](SxImageBuf& view) { view.height = -2147483647; }}) {
        SxImageBuf spoiled = pixels.view;
        spoil(spoiled);
        EXPECT_TRUE(viewAsQImage(spoiled).isNull());
    }
    SxImageBuf huge = pixels.view;
    huge.width = huge.height = huge.stride = 2147483647;
    EXPECT_TRUE(viewAsQImage(huge).isNull());
}

TEST(ViewAsQImage, TakesMonoOfAnyPackingButColourOnlyInterleavedAndMarkedAsColour)
{
    Pixels mono(4, 2, 1, UInt8);
    mono.view.packing = Planar;
    mono.view.pixelFormat = 7;
    EXPECT_FALSE(viewAsQImage(mono.view).isNull());

    Pixels colour(4, 2, 3, UInt8);
    colour.view.packing = Planar;
    EXPECT_TRUE(viewAsQImage(colour.view).isNull());
    colour.view.packing = Interleaved;
    colour.view.pixelFormat = 0;
    EXPECT_TRUE(viewAsQImage(colour.view).isNull());
}

TEST(ViewOfQImage, SharesTheMemoryOfEveryFormatOfTheTableAndNoOther)
{
    int viewed = 0;
    for (int format = QImage::Format_Invalid; format < QImage::NImageFormats; ++format) {
        QImage image(5, 3, static_cast<QImage::Format>(format));
        const QImage& constant = image;
        for (const SxImageBuf& view : {viewOf(image), viewOf(constant)}) {
            const Equivalent* expected = nullptr;
            for (const Equivalent& each : equivalents)
                if (each.format == format)
                    expected = &each;
            ASSERT_EQ(view.data == nullptr, expected == nullptr) << "format " << format;
            if (!expected)
                continue;
            ++viewed;
            EXPECT_EQ(view.data, image.constBits());
            EXPECT_EQ(view.width, 5);
            EXPECT_EQ(view.height, 3);
            EXPECT_EQ(view.stride, image.bytesPerLine());
            EXPECT_EQ(view.channels, expected->channels);
            EXPECT_EQ(view.dataType, expected->type);
            EXPECT_EQ(view.bitsPerSample, 8 * bytesPerSample(expected->type));
            EXPECT_EQ(view.packing, Interleaved);
            EXPECT_EQ(view.pixelFormat, 1);
            EXPECT_EQ(view.bayerGrid, BayerNone);
            EXPECT_EQ(view.allocation, 0U);
        }
    }
    EXPECT_EQ(viewed, 10);
    QImage null;
    EXPECT_EQ(viewOf(null).data, nullptr);
}

TEST(ViewOfQImage, GoesThereAndBack)
{
    for (const Equivalent& each : equivalents) {
        Pixels pixels(6, 4, each.channels, each.type);
        QImage seen = viewAsQImage(pixels.view);
        const SxImageBuf back = viewOf(seen);
        EXPECT_EQ(back.data, pixels.view.data);
        EXPECT_EQ(back.stride, pixels.view.stride);
        EXPECT_EQ(back.dataType, each.type);
    }
}

TEST(ViewOfQImage, IsWrittenByOperations)
{
    QImage image(7, 5, QImage::Format_Grayscale8);
    image.fill(100);
    image.scanLine(4)[6] = 200;
    SxImageBuf view = viewOf(image);
    ASSERT_EQ(ThresholdBinary(view, 150, 1, 2), ResultOk);
    EXPECT_EQ(image.constScanLine(0)[0], 1);
    EXPECT_EQ(image.constScanLine(4)[6], 2);
}

TEST(ViewOfQImage, GivesASharedOrReadOnlyImagePixelsOfItsOwn)
{
    QImage original(3, 2, QImage::Format_Grayscale8);
    original.fill(5);
    QImage copy = original;
    EXPECT_NE(viewOf(copy).data, original.constBits());

    // The pixels of its own have other padding.
    Pixels pixels(3, 2, 1, UInt8, 61);
    QImage readOnly = viewAsQImage(static_cast<const SxImageBuf&>(pixels.view));
    const SxImageBuf view = viewOf(readOnly);
    EXPECT_NE(view.data, pixels.view.data);
    EXPECT_EQ(view.data, readOnly.constBits());
    EXPECT_EQ(view.stride, readOnly.bytesPerLine());
    EXPECT_NE(view.stride, pixels.view.stride);
    EXPECT_EQ(view.data[view.stride + 2], pixels.at<std::uint8_t>(2, 1));
}

template <class Image, class = void>
constexpr bool hasView = false;
template <class Image>
constexpr bool hasView<Image, std::void_t<decltype(viewOf(std::declval<Image>()))>> = true;

TEST(ViewOfQImage, OfATemporaryDoesNotCompile)
{
    EXPECT_TRUE(hasView<QImage&>);
    EXPECT_TRUE(hasView<const QImage&>);
    EXPECT_FALSE(hasView<QImage>);
    EXPECT_FALSE(hasView<const QImage>);
}

}  // namespace
}  // namespace ko::test
