// Joint histograms: how often each pair of samples occurs at the same place of two images.
//
// Common to all of them:
//
// - The first image's sample a selects the column and the second image's sample b the row: a pair adds 1 to
//   `h[plane][b][a]`, or does `h.inc(plane, b, a)`. Counts already there are kept; counters wrap.
// - Pairs whose b is not below `levels()` are left out, and so are those of a dense histogram whose a is not;
//   a sparse one takes any a.
// - "Countable" means present, and `UInt8` of at most 8 or `UInt16` of at most 16 bits.
// - A channel is a logical one (`ChannelIndexLogicalToPhysical`).
// - `packing` is `Interleaved` or `Planar`; anything else is `ResultUnsupportedType`, after all other checks.
// - On failure h is untouched, but for `ResultFailed`, where the memory for sparse entries may have run out
//   halfway. Many pairs of `UInt16` take 2 bytes of working memory each.
// - Everything runs on the calling thread. Within `CallThreads` large images are counted on several threads, each
//   with up to 1 MB of working memory.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

namespace ko {

/// Counts channel c of both images into plane c, for every channel.
///
/// @param src1  countable
/// @param src2  of src1's size, channels, bits, mosaic, type, packing and pixel format
/// @param h     one plane per channel, at least 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src1 not countable
///   ResultBadArg2          src2 absent or of another format
///   ResultBadArg3          h of other planes or too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram2D(const SxImageBuf& src1, const SxImageBuf& src2, CxImageHistogramSparse2D& h);

/// Counts a channel of each image into plane 0. The bits of the images are not limited by their type here.
///
/// @param src1  `UInt8` or `UInt16`
/// @param ch1   0...channels of src1 - 1
/// @param src2  of src1's size, packing, type and bits
/// @param ch2   0...channels of src2 - 1
/// @param h     one plane of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src1 absent
///   ResultBadArg2          no such channel of src1
///   ResultBadArg3          src2 absent or of another size, packing, type or bits
///   ResultBadArg4          no such channel of src2
///   ResultBadArg5          h of other planes or levels
///   ResultUnsupportedType  another type, unknown packing
KO_EXPORT ResultCode Histogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                                 CxImageHistogramSparse2D& h);

/// Counts a channel of each image over one row into plane 0.
///
/// @param src1  countable
/// @param ch1   0...channels of src1 - 1
/// @param src2  of src1's size, packing, type and bits
/// @param ch2   0...channels of src2 - 1
/// @param row   0...height - 1
/// @param h     one plane of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src1 not countable
///   ResultBadArg2          no such channel of src1
///   ResultBadArg3          src2 absent or of another size, packing, type or bits
///   ResultBadArg4          no such channel of src2
///   ResultBadArg5          no such row
///   ResultBadArg5          h of other planes or levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode RowHistogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2, int row,
                                    CxImageHistogramSparse2D& h);

/// Counts a channel of each image over one column: `RowHistogram2D` with columns, 0...width - 1, for rows.
KO_EXPORT ResultCode ColHistogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2, int col,
                                    CxImageHistogramSparse2D& h);

/// Counts channel c of both images into plane c, for every channel, where a mask allows it.
///
/// Interleaved images of several channels read the mask as if it were interleaved like them: the byte
/// x * channels + c of its row decides about channel c of pixel x. Bytes beyond the row are those of its
/// padding and of the next rows; past the end of the mask's memory they count as 0. Planar images read the
/// mask pixel by pixel.
///
/// @param src1  countable
/// @param src2  of src1's size, channels, bits, mosaic, type, packing and pixel format
/// @param mask  a mask of src1
/// @param h     one plane per channel, at least 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src1 not countable
///   ResultBadArg2          src2 absent or of another format
///   ResultBadArg3          mask is none of src1
///   ResultBadArg4          h of other planes or too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked2D(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf& mask,
                                       CxImageHistogram2D& h);

/// The same into a sparse histogram.
KO_EXPORT ResultCode HistogramMasked2D(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf& mask,
                                       CxImageHistogramSparse2D& h);

/// Counts a channel of each image into plane 0 over the pixels that a mask selects.
///
/// @param src1  countable
/// @param ch1   0...channels of src1 - 1
/// @param src2  of src1's size, packing, type and bits
/// @param ch2   0...channels of src2 - 1
/// @param mask  a mask of src1
/// @param h     at least one plane, at least 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src1 not countable
///   ResultBadArg2          no such channel of src1
///   ResultBadArg3          src2 absent or of another size, packing, type or bits
///   ResultBadArg4          no such channel of src2
///   ResultBadArg5          mask is none of src1
///   ResultBadArg6          h without planes or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                                       const SxImageBuf& mask, CxImageHistogram2D& h);

/// The same into a sparse histogram. It is refused (`ResultBadArg6`) without planes, and otherwise only when
/// it has both other than one plane and other than 2^bitsPerSample levels.
KO_EXPORT ResultCode HistogramMasked2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                                       const SxImageBuf& mask, CxImageHistogramSparse2D& h);

}  // namespace ko
