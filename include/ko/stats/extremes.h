// Minimum and maximum.
//
// Extremes come back as `QVariant`s of `int` for 8- and 16-bit samples and `Int32`, `unsigned int` for
// `UInt32`, `float`, `double`, `qlonglong` and `qulonglong`. The running minimum starts at the type's highest
// finite value and the maximum at its lowest, and a sample replaces them only when it is strictly below or
// above: an empty selection gives those starting values, NaN never counts, and of zeros of both signs the
// first in raster order is reported.
//
// A sample type code outside 1...11 answers `ResultOk` with nothing written, on purpose.
#pragma once

#include <ko/image.h>

#include <QVariant>

namespace ko {

/// Minimum and maximum of every channel, or of every cell position of a 2 x 2 mosaic.
///
/// @param src  any sample type but `Sample128`, one of these layouts:
///             interleaved without a mosaic: one result per logical channel;
///             mono with a mosaic (`bayerGrid` other than `BayerNone`), any packing: four results, for the
///             positions (x mod 2) + 2 * (y mod 2); odd sizes are fine, a position without samples keeps the
///             starting values;
///             planar: one result per plane
/// @param min  array of one element per result
/// @param max  array of one element per result
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or of type `Sample128`
///   ResultBadArg2          min null
///   ResultBadArg3          max null
///   ResultUnsupportedType  any other layout: a packing that is neither interleaved nor planar, or several
///                          interleaved channels with a mosaic
/// On failure nothing is written. Runs on the calling thread, on several within `CallThreads`. O(samples).
KO_EXPORT ResultCode MinMax(const SxImageBuf& src, QVariant* min, QVariant* max);

/// Minimum and maximum of every channel over the pixels that a mask selects. A mosaic is not looked at.
///
/// @param src   any sample type but `Sample128`, interleaved or planar
/// @param mask  mono `UInt8` of src's size; every non-zero byte selects its pixel in all channels
/// @param min   array of one element per channel: by logical channel if interleaved, by plane if planar
/// @param max   like min
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or of type `Sample128`
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          min null
///   ResultBadArg4          max null
///   ResultUnsupportedType  src.packing is neither interleaved nor planar
/// On failure nothing is written. Runs on the calling thread, on several within `CallThreads`. O(samples).
KO_EXPORT ResultCode MinMaxMasked(const SxImageBuf& src, const SxImageBuf& mask, QVariant* min,
                                  QVariant* max);

/// Minimum and maximum of every position of a mosaic cell, and where each occurs first.
///
/// Pixel (x, y) belongs to position (x mod cellWidth) + (y mod cellHeight) * cellWidth.
///
/// @param src         mono, any sample type but `Sample128`, whatever its `bayerGrid` and packing
/// @param cellWidth   1...src.width, a divisor of it
/// @param cellHeight  1...src.height, a divisor of it
/// @param min         array of cellWidth * cellHeight elements
/// @param max         array of cellWidth * cellHeight elements
/// @param minPos      null, or as many points: the first pixel in raster order that holds the minimum, (0, 0)
///                    where no sample was below the starting value
/// @param maxPos      like minPos, for the maximum
/// @returns the first that applies, in this order; the outputs share the numbers of the cell's sides
///   ResultBadArg1  src absent, of type `Sample128`, or not mono
///   ResultBadArg2  cellWidth out of range or not a divisor of the width
///   ResultBadArg3  cellHeight out of range or not a divisor of the height
///   ResultBadArg2  min null
///   ResultBadArg3  max null
/// On failure nothing is written. Runs on the calling thread, on several within `CallThreads`. O(samples).
KO_EXPORT ResultCode MinMaxMosaic(const SxImageBuf& src, int cellWidth, int cellHeight, QVariant* min,
                                  QVariant* max, QPoint* minPos, QPoint* maxPos);

}  // namespace ko
