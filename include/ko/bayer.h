// Bayer helpers: a raw mosaic into planes, and a quick colour picture from either.
#pragma once

#include <ko/image.h>

namespace ko {

/// Splits the 2 x 2 cells of a mosaic into four half-size planes: red, the green that comes first in raster
/// order within the cell, blue, the other green.
///
/// The colours follow the coordinates of the whole image, so a region may start anywhere; its cells are
/// counted from its own corner. From an odd row on, the two greens therefore change places against the cells
/// of the whole image: plane 1 is always the green of the upper row.
///
/// @param src     mono `UInt8` or `UInt16` mosaic; its own `bayerGrid` is not looked at
/// @param roi     inside src, width and height even; may be empty
/// @param grid    arrangement, `BayerBGGR`...`BayerGRBG`
/// @param planar  four planes, `Planar`, src's sample type, half the region's size; must not overlap src
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          roi outside src, or odd
///   ResultBadArg3          grid unknown
///   ResultBadArg4          planar absent, not four planes, of another type or size
///   ResultUnsupportedType  another sample type
///   ResultBadArg1, 4       rows of src or planar longer than their stride
/// On failure planar is untouched. Runs on the calling thread, on several within `CallThreads`. O(pixels).
KO_EXPORT ResultCode ConvertRawToPlanarRaw(const SxImageBuf& src, const QRect& roi, ExBayerGrid grid,
                                           SxImageBuf& planar);

/// Makes a colour picture without interpolation.
///
/// From a mono mosaic: one pixel per 2 x 2 cell, dst is half the rectangle's size. From four planes (in the
/// order of `ConvertRawToPlanarRaw`): one pixel per plane position, dst has the rectangle's size. Channel 0
/// is red, channel 1 (green + green) >> 1, channel 2 blue, channel 3, if there is one, 2^bitsPerSample - 1 of
/// src cut to the container. Cells and colours of a region are those of `ConvertRawToPlanarRaw`.
///
/// @param src   mono `UInt8` or `UInt16` mosaic, or four `Planar` planes of these types
/// @param rect  inside src; for a mosaic width and height even; may be empty
/// @param dst   3 or 4 channels, `Interleaved`, src's sample type; must not overlap src
/// @param grid  arrangement of a mosaic, `BayerBGGR`...`BayerGRBG`; planes carry their colours already, and
///              any of the four does for them
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, neither mono nor four planes
///   ResultBadArg2          rect outside src, or odd on a mosaic
///   ResultBadArg3          dst absent, not 3 or 4 interleaved channels, of another type or size
///   ResultBadArg4          grid unknown
///   ResultUnsupportedType  another sample type
///   ResultBadArg1, 3       rows of src or dst longer than their stride
/// On failure dst is untouched. Runs on the calling thread, on several within `CallThreads`. O(pixels).
KO_EXPORT ResultCode DemosaicSimple(const SxImageBuf& src, const QRect& rect, SxImageBuf& dst,
                                    ExBayerGrid grid);

}  // namespace ko
