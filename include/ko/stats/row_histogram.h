// Histograms of one row or one column.
//
// Common to all of them: every channel is counted into the plane of the same number, on the calling thread
// (columns of hundreds of thousands of pixels on several within `CallThreads`).
// Unlike the other histograms these clear the histogram first, as soon as the arguments have passed, so that
// it holds the counts of this line alone; one of `ResultUnsupportedType` leaves it cleared. Samples at or
// above `hist.levels` are left out.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

namespace ko {

/// Counts a row.
///
/// @param src   `UInt8` of at most 8 or `UInt16` of at most 16 bits
/// @param row   0...height - 1
/// @param hist  with as many planes as src has channels, of at least 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          no such row
///   ResultBadArg3          hist without bins, or of other planes or fewer levels
///   ResultUnsupportedType  src.packing unknown
/// On an argument failure hist is untouched. O(width * channels + planes * levels).
KO_EXPORT ResultCode RowHistogram(const SxImageBuf& src, int row, CxImageHistogram& hist);

/// Counts a column: `RowHistogram` with columns, 0...width - 1, for rows.
KO_EXPORT ResultCode ColHistogram(const SxImageBuf& src, int col, CxImageHistogram& hist);

/// Counts the pixels of a row whose mask byte is not zero.
///
/// The mask is not checked, and the numbers of the argument codes are those of the form without it. The byte
/// at y * mask.stride + x decides, whatever the mask's type and channels. An absent mask selects nothing, nor
/// does one outside its own size or memory.
///
/// @param src   `UInt8` of at most 8 or `UInt16` of at most 16 bits
/// @param mask  best a mask of src
/// @param row   0...height - 1
/// @param hist  with as many planes as src has channels, of at least 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          no such row
///   ResultBadArg3          hist without bins, or of other planes or fewer levels
///   ResultUnsupportedType  src.packing unknown
/// On an argument failure hist is untouched. O(width * channels + planes * levels).
KO_EXPORT ResultCode RowHistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int row,
                                        CxImageHistogram& hist);

/// Counts the pixels of a column whose mask byte is not zero: `RowHistogramMasked` with columns,
/// 0...width - 1, for rows.
KO_EXPORT ResultCode ColHistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int col,
                                        CxImageHistogram& hist);

}  // namespace ko
