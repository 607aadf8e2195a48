// From a raw Bayer mosaic to a colour picture.
#pragma once

#include <ko/demosaic/convertor.h>
#include <ko/image.h>

namespace ko {

/// Turns a region of a raw Bayer mosaic into a colour picture of the same size.
///
/// The 2 x 2 cells of the region are split into four planes (as `ConvertRawToPlanarRaw` does, so the colours
/// follow the coordinates of the whole image wherever the region starts), each plane is doubled as by
/// `Stretch`, with its displacement by half a sample, limited as by `ClampToColorDepth`, and the planes are
/// put together as by `DemosaicSimple`: channel 0 red, channel 1 (green + green) >> 1, channel 2 blue,
/// channel 3, if there is one, 2^bitsPerSample - 1 cut to the container. At every step results are truncated.
///
/// src and dst must not overlap.
///
/// @param src     mono `UInt8` or `UInt16` mosaic, `Interleaved`
/// @param roi     inside src, not empty, width and height even
/// @param dst     3 or 4 channels, `Interleaved`, src's sample type, the region's size
/// @param buffer  from `DemosaicAllocBuffer` for the same sample type, depth and region size, so that a
///                series of frames allocates nothing; not to be used by two calls at once. Null: the call
///                makes and frees its own.
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, without mosaic (`BayerNone`) or not `Interleaved`
///   ResultBadArg2  roi outside src, odd or empty
///   ResultBadArg3  dst absent, not 3 or 4 interleaved channels, of another type or size
///   ResultFailed   src's grid or sample type has no implementation
///   ResultBadArg1  rows of src are longer than its stride
///   ResultBadArg3  rows of dst are longer than its stride
///   ResultFailed   no memory for a buffer, or the given one was made for another type or size
/// On failure dst is untouched. Runs on the calling thread, on several within `CallThreads`. O(roi size).
KO_EXPORT ResultCode Demosaic(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer);

/// The same for the whole image. The codes keep their numbers: an image of odd size is `ResultBadArg2`, a bad
/// dst `ResultBadArg3`.
KO_EXPORT ResultCode Demosaic(const SxImageBuf& src, SxImageBuf& dst, void* buffer);

/// Makes a work buffer for `Demosaic`: four planes of half the region's size and four of its full size.
///
/// @param info  mosaics to be converted: sample type, depth and grid
/// @param roi   region to be converted; inside info, not empty, width and height even
/// @returns the buffer, to be released with `DemosaicFreeBuffer`; null
///   with the log message "Input image must be mono image." where info is not mono or has no mosaic,
///   then with the log message "Invalid ROI." where roi is outside info, odd or empty,
///   without a message when memory runs out or info has no valid sample type
KO_EXPORT void* DemosaicAllocBuffer(const SxImageInfo& info, const QRect& roi);

/// The same for the whole image.
KO_EXPORT void* DemosaicAllocBuffer(const SxImageInfo& info);

/// Releases a work buffer; null is allowed.
KO_EXPORT void DemosaicFreeBuffer(void* buffer);

/// Turns a region of a raw Bayer mosaic into a colour picture of the same size, by linear filters of 5 x 5.
///
/// Each missing colour is the mean of its neighbours, corrected by what the colour that is there differs from
/// the mean of its own neighbours. Unlike those of `Demosaic`, the colours lie where the sensor saw them.
/// Sums are whole numbers in sixteenths, rounded to the nearest (halves up); all samples are limited to
/// 2^bitsPerSample - 1 of src, and channel 3, if there is one, is that number.
///
/// Samples beyond the edges of src are mirrored at the outermost ones (column -1 is column 1), so that every
/// colour keeps its place in the pattern; a width or a height of 1 repeats its only sample. A region is the
/// same part of the whole image's result: samples around it are read.
///
/// src and dst must not overlap.
///
/// @param src     mono `UInt8` or `UInt16` mosaic, `Interleaved`, of any size
/// @param roi     inside src, of any size and position; may be empty
/// @param dst     3 or 4 channels, `Interleaved`, src's sample type, the region's size: red, green, blue
/// @param buffer  from `DemosaicCentredAllocBuffer` for at least the region's width, so that a series of
///                frames allocates nothing; not to be used by two calls at once. Null: the call makes and
///                frees its own.
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not mono, not `Interleaved`, or without a known grid
///   ResultBadArg2          roi outside src
///   ResultBadArg3          dst absent, not 3 or 4 interleaved channels, of another type or size
///   ResultUnsupportedType  another sample type
///   ResultBadArg1, 3       rows of src or dst longer than their stride
///   ResultFailed           no memory for a buffer, or the given one was made for a smaller width
/// On failure dst is untouched. Bands of rows run in parallel. O(roi width * height).
///
/// @source H. S. Malvar, L. He, R. Cutler, "High-quality linear interpolation for demosaicing of
///         Bayer-patterned color images", ICASSP 2004.
KO_EXPORT ResultCode DemosaicMalvar(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer);

/// The same for the whole image. The codes keep their numbers: a bad dst is `ResultBadArg3`.
KO_EXPORT ResultCode DemosaicMalvar(const SxImageBuf& src, SxImageBuf& dst, void* buffer);

/// Turns a region of a raw Bayer mosaic into a colour picture of the same size, along the edges.
///
/// At every red and blue sample green is estimated along the row and along the column: the mean of the
/// greens next to it, corrected by how the colour bends there, wholly, by half or not at all, as far as green
/// changes with the colour from one side to the other. The differences of the sample to both estimates are
/// mixed, each weighted by 1 / (1 + v)^2, where v is how much the differences of its direction vary within
/// 5 x 5 samples. Around each of these samples its colour is taken for a straight line of green with a slope
/// between 0 and 1, 6/5 of that of least squares over the changes from it and from the next samples of its
/// colour in the row to the four nearest of each. The slope is multiplied by s^2 / (s^2 + n^2), and as far as
/// that is less than 1, the line runs through the mean of three samples in the row: s is the sum of the squares
/// of the changes of both and of their products, and n, the harmonic mean of both v^2, is what of them may be
/// noise, up to a variation of 1/7 of the range. So noise is averaged without being measured. As far as the
/// colour and green lie on the line, the mixed difference is averaged over three samples in the directions that it
/// was mixed of. Red and blue elsewhere are the means of the lines around. Sharper than `DemosaicMalvar`, with
/// fewer false colours at edges, and slower.
///
/// The published method keeps the difference that varies less, which is worse where neither direction is
/// plain. It also takes for granted that red and blue change as much as green does; in saturated colours they
/// do not.
///
/// The arithmetic is that of single floating-point numbers in a fixed order, the same on every processor.
/// Results are rounded to the nearest whole number (halves up); all samples are limited to
/// 2^bitsPerSample - 1 of src, and channel 3, if there is one, is that number.
///
/// Edges, regions, parameters, results, failure and threads are those of `DemosaicMalvar`, and so is the
/// buffer.
///
/// @source D. Menon, S. Andriani, G. Calvagno, "Demosaicing with directional filtering and a posteriori
///         decision", IEEE Transactions on Image Processing 16 (1), 2007.
KO_EXPORT ResultCode DemosaicMenon(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer);

/// The same for the whole image. The codes keep their numbers: a bad dst is `ResultBadArg3`.
KO_EXPORT ResultCode DemosaicMenon(const SxImageBuf& src, SxImageBuf& dst, void* buffer);

/// Makes a work buffer for `DemosaicMalvar` and `DemosaicMenon`: some rows for each thread that OpenMP would
/// use now.
///
/// @param width  columns of the widest region; any sample type, depth and height will do
/// @returns the buffer, to be released with `DemosaicCentredFreeBuffer`; null for a negative width or when
///          memory runs out
KO_EXPORT void* DemosaicCentredAllocBuffer(int width);

/// Releases a work buffer; null is allowed.
KO_EXPORT void DemosaicCentredFreeBuffer(void* buffer);

}  // namespace ko
