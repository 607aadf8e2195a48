// Copies and parts of pictures.
#pragma once

#include "io/image.h"

#include <QRect>

namespace ko::tool {

Image copyOf(const Image& picture);

/// An image of the format whose samples are all 0.
Image cleared(const SxImageInfo& format);

/// A region of a picture, which must lie inside; that of a mosaic gets the pattern that it begins with.
Image cropOf(const Image& picture, const QRect& region);

/// One channel as a mono image.
Image channelOf(const Image& picture, int channel);

/// The four planes of a mosaic's region of even size: red, a green, blue, the other green; for a mask, where
/// it selects these.
Image planesOf(const Image& mosaic, const QRect& region, ExBayerGrid grid);

/// The whole of a picture.
QRect wholeOf(const SxImageInfo& format);

/// Format of another size or channel count with the same samples.
SxImageInfo resized(const SxImageInfo& format, int width, int height, int channels);

}  // namespace ko::tool
