// Images as QImage and QImages as images, without copying. Needs QtGui, which the libraries do not
// link; koimproc.h does not include this header.
//
// These formats hold the same samples in the same order, colours with red first, and have views both ways:
//
// | channels | sample type | QImage               |
// |----------|-------------|----------------------|
// | 1        | UInt8       | `Format_Grayscale8`  |
// | 1        | UInt16      | `Format_Grayscale16` |
// | 3        | UInt8       | `Format_RGB888`      |
// | 4        | UInt8       | `Format_RGBA8888`    |
// | 4        | UInt16      | `Format_RGBA64`      |
//
// Everything else is refused. Planar colour, signed, 32- and 64-bit and floating-point samples have no QImage
// format. `Format_RGB32`, `Format_ARGB32` and `Format_BGR888` have blue first; `Format_RGBX8888` and
// `Format_RGBX64` break when the fourth channel is written; premultiplied, indexed and alpha-only formats do
// not hold plain samples. `convertToFormat` makes what can be viewed of any QImage.
//
// A QImage knows neither `bitsPerSample` nor `bayerGrid`: 12-bit samples in 16 bits look dark, a mosaic gray,
// and of a QImage all bits count and nothing is a mosaic.
#pragma once

#include <ko/image.h>

#include <QImage>

#include <cstddef>
#include <cstdint>

namespace ko {

namespace detail {

struct QImageEquivalent {
    QImage::Format format;
    ExImageDataType dataType;
    int channels;
    int alignment;  ///< bytes; Qt reads whole pixels at once
};

inline constexpr QImageEquivalent qimageEquivalents[] = {
    {QImage::Format_Grayscale8, UInt8, 1, 1}, {QImage::Format_Grayscale16, UInt16, 1, 2},
    {QImage::Format_RGB888, UInt8, 3, 1},     {QImage::Format_RGBA8888, UInt8, 4, 4},
    {QImage::Format_RGBA64, UInt16, 4, 8},
};

/// Whether the pixels of an image lie as QImage needs them.
inline bool suits(const SxImageBuf& image, const QImageEquivalent& equivalent)
{
    if (image.dataType != equivalent.dataType || image.channels != equivalent.channels)
        return false;
    const std::int64_t rowBytes = std::int64_t{image.width} * image.channels * bytesPerSample(image.dataType);
    const bool isPlain = image.channels == 1 || (image.packing == Interleaved && image.pixelFormat == 1);
    const auto address = reinterpret_cast<std::uintptr_t>(image.data);
    const bool isAligned = address % static_cast<std::uintptr_t>(equivalent.alignment) == 0 &&
                           image.stride % equivalent.alignment == 0;
    return image.data && image.width > 0 && image.height > 0 && image.stride >= rowBytes && isPlain &&
           isAligned;
}

/// The QImage format of an image, `Format_Invalid` when it has none.
inline QImage::Format qimageFormat(const SxImageBuf& image)
{
    for (const QImageEquivalent& each : qimageEquivalents)
        if (suits(image, each))
            return each.format;
    return QImage::Format_Invalid;
}

inline SxImageBuf viewOfQImage(const QImage& image, std::uint8_t* bits)
{
    SxImageBuf view;
    for (const QImageEquivalent& each : qimageEquivalents) {
        if (bits && image.format() == each.format) {
            view.width = image.width();
            view.height = image.height();
            view.stride = image.bytesPerLine();
            view.channels = each.channels;
            view.dataType = each.dataType;
            view.bitsPerSample = 8 * bytesPerSample(each.dataType);
            view.data = bits;
        }
    }
    return view;
}

}  // namespace detail

/// A QImage over the pixels of an image; painting on it changes them.
///
/// As with every QImage, the first change detaches it from its copies: paint on the only one.
///
/// @param image  of a format of the table above. Its stride may be any that holds a row, but 4-channel and
///               16-bit rows must start at multiples of the pixel size. The pixels must outlive the QImage
/// @returns the QImage; a null one when the image is absent, has no pixels, another format, colours that are
///          not marked by `pixelFormat` 1, misaligned rows or a size beyond QImage's
inline QImage viewAsQImage(SxImageBuf& image)
{
    const QImage::Format format = detail::qimageFormat(image);
    return format == QImage::Format_Invalid
               ? QImage()
               : QImage(image.data, image.width, image.height, image.stride, format);
}

/// A QImage over the pixels of an image that is only read: painting on the QImage gives it pixels of its own.
///
/// @param image  as for the other form
/// @returns as the other form
inline QImage viewAsQImage(const SxImageBuf& image)
{
    const QImage::Format format = detail::qimageFormat(image);
    const std::uint8_t* data = image.data;
    return format == QImage::Format_Invalid ? QImage()
                                            : QImage(data, image.width, image.height, image.stride, format);
}

/// An image over the pixels of a QImage; operations that write it change the QImage.
///
/// A QImage that shares its pixels with others, or only reads foreign ones, is given its own first.
///
/// @param image  of a format of the table above. It must outlive the view and keep its pixels: nothing may be
///               assigned to it, nor may a copy be taken and then one of them be painted on
/// @returns the image, for use without `FreeBuffer`; an empty record (null `data`) for a null QImage or one
///          of another format
inline SxImageBuf viewOf(QImage& image)
{
    std::uint8_t* bits = image.bits();
    return detail::viewOfQImage(image, bits);
}

/// An image over the pixels of a QImage that is only read: pass it to operations as a source alone.
///
/// @param image  as for the other form
/// @returns as the other form
inline SxImageBuf viewOf(const QImage& image)
{
    return detail::viewOfQImage(image, const_cast<std::uint8_t*>(image.constBits()));
}

/// A view of a temporary would outlive its pixels.
SxImageBuf viewOf(const QImage&& image) = delete;

}  // namespace ko
