// How a picture has to be turned to stand upright.
#pragma once

#include "io/image.h"

#include <QRect>

namespace ko::tool {

/// As Exif numbers them: the first row and column of the file are the top and left side of the scene (1), ...
/// the left and bottom side (8).
enum Orientation : int { Upright = 1, Transposed = 5, LastOrientation = 8 };

/// True where turning exchanges width and height.
constexpr bool isTransposed(int orientation)
{
    return orientation >= Transposed;
}

/// The size that the picture has upright.
SxImageInfo turnedFormat(SxImageInfo format, int orientation);

/// Where a part of a picture of this size lies in the picture upright.
QRect turned(const QRect& part, const QSize& size, int orientation);

/// The picture upright: interleaved, of any sample type, and no mosaic.
Image turned(const Image& picture, int orientation);

}  // namespace ko::tool
