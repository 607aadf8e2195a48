// Demosaicing by the means of the nearest samples.
#pragma once

#include <ko/image.h>

namespace ko::gst {

/// Makes a colour picture of a mosaic. What a pixel lacks of red, green and blue is the mean of the nearest samples of
/// that colour, rounded to the nearest (halves up). Beyond the edges the mosaic is mirrored at its outermost samples, so
/// that every colour keeps its place.
/// @param src  mosaic, `UInt8` or `UInt16`
/// @param dst  src's size and type: 4 channels, or for `UInt8` 3; the fourth becomes the largest number
void demosaicLinear(const SxImageBuf& src, SxImageBuf& dst);

}  // namespace ko::gst
