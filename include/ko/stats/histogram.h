// Histograms of images, regions, point lists, stencils and masks.
//
// Common to all of them:
//
// - A sample is its own bin number: counting adds 1 to `bins[plane][sample]`. Counts already there are
//   kept; only `HistogramEx` starts anew. Counters wrap at 2^32.
// - The levels that an image needs are 2^bitsPerSample. Samples at or above `hist.levels` are left out,
//   and so are planes that the histogram does not have.
// - "Countable" means present, and `UInt8` of at most 8 or `UInt16` of at most 16 bits. The masked forms
//   take `Int8` and `Int16` too and read their samples without sign; only `UInt8` is held to 8 bits
//   there.
// - A channel is a logical one (`ChannelIndexLogicalToPhysical`).
// - A histogram *for* an image has bins and at least the levels that the image needs.
// - `packing` is `Interleaved` or `Planar`; anything else is `ResultUnsupportedType`, after all other
//   checks.
// - On failure the histogram and `count` are untouched, unless the operation says otherwise. Large images
//   take up to 1 MB of working memory before anything is counted; where it cannot be had the answer is
//   `ResultFailed`.
// - Everything runs on the calling thread, in O(pixels visited * channels counted) plus the tables' size. Within
//   `CallThreads` large images are counted on several threads, points excepted; each further thread takes working
//   memory of its own and as much as the histogram has.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

#include <QList>

namespace ko {

/// Counts every channel of an image into the plane of the same number.
///
/// The same as the region form with the whole image, its numbering of arguments included.
///
/// @param src   countable, height x width, any channel count
/// @param hist  for src, with at least one plane; channels beyond its planes are not counted
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg3          hist without bins or planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, CxImageHistogram& hist);

/// Counts every channel of a region into the plane of the same number.
///
/// @param src   countable
/// @param roi   inside src
/// @param hist  for src, with at least one plane; channels beyond its planes are not counted
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          roi not inside src
///   ResultBadArg3          hist without bins or planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const QRect& roi, CxImageHistogram& hist);

/// Counts one channel of an image.
///
/// The same as the region form with the whole image, its numbering of arguments included.
///
/// @param src      countable
/// @param channel  0...channels - 1
/// @param hist     for src
/// @param plane    0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg3          no such channel
///   ResultBadArg4          hist without bins or with too few levels
///   ResultBadArg5          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, int channel, CxImageHistogram& hist, int plane);

/// Counts one channel of a region.
///
/// @param src      countable
/// @param roi      inside src
/// @param channel  0...channels - 1
/// @param hist     for src
/// @param plane    0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          roi not inside src
///   ResultBadArg3          no such channel
///   ResultBadArg4          hist without bins or with too few levels
///   ResultBadArg5          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const QRect& roi, int channel, CxImageHistogram& hist,
                               int plane);

/// Counts every channel of the pixels at origin + offset into the plane of the same number.
///
/// @param src      countable
/// @param origin   inside src
/// @param offsets  any; each counts once more for every time that it is listed, those that leave src do not
///                 count
/// @param hist     for src, with as many planes as src has channels
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          origin outside src
///   ResultBadArg4          hist without bins, with other than `channels` planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets,
                               CxImageHistogram& hist);

/// Counts one channel of the pixels at origin + offset.
///
/// @param src      countable
/// @param origin   inside src
/// @param offsets  as above
/// @param channel  0 or more; a channel that src does not have counts nothing and is no error
/// @param hist     for src, with as many planes as src has channels
/// @param plane    0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          origin outside src
///   ResultBadArg4          negative channel
///   ResultBadArg5          hist without bins, with other than `channels` planes, or with too few levels
///   ResultBadArg6          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets,
                               int channel, CxImageHistogram& hist, int plane);

/// Counts every channel of the pixels under a stencil into the plane of the same number.
///
/// @param src      countable
/// @param stencil  mono `UInt8`, not larger than src; pixel (i, j) selects (pos.x + i, pos.y + j) where it is
///                 not zero
/// @param pos      where the stencil's top left corner goes; the stencil must not leave src there
/// @param hist     for src, with as many planes as src has channels
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          stencil absent, not mono or not `UInt8`
///   ResultBadArg3          pos outside src
///   ResultBadArg2          stencil wider or higher than src
///   ResultBadArg3          stencil leaves src
///   ResultBadArg4          hist without bins, with other than `channels` planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const SxImageBuf& stencil, const QPoint& pos,
                               CxImageHistogram& hist);

/// Counts one channel of the pixels under a stencil.
///
/// @param src      countable
/// @param stencil  as above
/// @param pos      as above
/// @param channel  0...channels - 1
/// @param hist     for src, with as many planes as src has channels
/// @param plane    0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src not countable
///   ResultBadArg2          stencil absent, not mono or not `UInt8`
///   ResultBadArg3          pos outside src
///   ResultBadArg2          stencil wider or higher than src
///   ResultBadArg3          stencil leaves src
///   ResultBadArg4          no such channel
///   ResultBadArg5          hist without bins, with other than `channels` planes, or with too few levels
///   ResultBadArg6          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode Histogram(const SxImageBuf& src, const SxImageBuf& stencil, const QPoint& pos,
                               int channel, CxImageHistogram& hist, int plane);

/// Counts every channel of the pixels that a mask selects into the plane of the same number.
///
/// The same as the region form with the whole image.
///
/// @param src   countable or signed of at most 16 bits
/// @param mask  a mask of src
/// @param hist  for src, with at least one plane; channels beyond its planes are not counted
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg4          hist without bins or planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, CxImageHistogram& hist);

/// Counts every channel of the pixels of a region that a mask selects into the plane of the same number.
///
/// @param src   countable or signed of at most 16 bits
/// @param mask  a mask of src (of the whole image, not of the region)
/// @param roi   inside src
/// @param hist  for src, with at least one plane; channels beyond its planes are not counted
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg3          roi not inside src
///   ResultBadArg4          hist without bins or planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QRect& roi,
                                     CxImageHistogram& hist);

/// Counts one channel of the pixels that a mask selects.
///
/// The same as the region form with the whole image, its numbering of arguments included.
///
/// @param src      countable or signed of at most 16 bits
/// @param mask     a mask of src
/// @param channel  0...channels - 1
/// @param hist     for src, with at least one plane
/// @param plane    0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg4          no such channel
///   ResultBadArg5          hist without bins or planes, or with too few levels
///   ResultBadArg6          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int channel,
                                     CxImageHistogram& hist, int plane);

/// Counts one channel of the pixels of a region that a mask selects.
///
/// @param src      countable or signed of at most 16 bits
/// @param mask     a mask of src (of the whole image, not of the region)
/// @param roi      inside src
/// @param channel  0...channels - 1
/// @param hist     for src, with at least one plane
/// @param plane    0...planes - 1
/// @param count    receives the number of selected pixels; what it held before does not matter
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg3          roi not inside src
///   ResultBadArg4          no such channel
///   ResultBadArg5          hist without bins or planes, or with too few levels
///   ResultBadArg6          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QRect& roi,
                                     int channel, CxImageHistogram& hist, int plane, int& count);

/// Counts one channel of the pixels at origin + offset that a mask selects.
///
/// @param src      countable or signed of at most 16 bits
/// @param mask     a mask of src
/// @param origin   inside src
/// @param offsets  any; each counts once more for every time that it is listed, those that leave src do not
///                 count
/// @param channel  0 or more; a channel that src does not have counts nothing and is no error
/// @param hist     for src, with as many planes as src has channels
/// @param plane    0...planes - 1
/// @param count    receives the number of samples counted
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or of more than 16 bits
///   ResultBadArg2          mask is none of src
///   ResultBadArg1          src `UInt8` of more than 8 bits
///   ResultBadArg3          origin outside src
///   ResultBadArg5          negative channel
///   ResultBadArg6          hist without bins, with other than `channels` planes, or with too few levels
///   ResultBadArg7          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QPoint& origin,
                                     const QList<QPoint>& offsets, int channel, CxImageHistogram& hist,
                                     int plane, int& count);

/// Counts every channel of the pixels that both a stencil and a mask select into the plane of the same
/// number.
///
/// @param src      countable or signed of at most 16 bits
/// @param mask     a mask of src, addressed like src
/// @param stencil  mono `UInt8`, not larger than src; pixel (i, j) belongs to (pos.x + i, pos.y + j)
/// @param pos      where the stencil's top left corner goes; the stencil must not leave src there
/// @param hist     for src, with as many planes as src has channels
/// @param count    receives the number of selected pixels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg3          stencil absent, not mono or not `UInt8`
///   ResultBadArg4          pos outside src
///   ResultBadArg3          stencil wider or higher than src
///   ResultBadArg4          stencil leaves src
///   ResultBadArg5          hist without bins, with other than `channels` planes, or with too few levels
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const SxImageBuf& stencil,
                                     const QPoint& pos, CxImageHistogram& hist, int& count);

/// Counts one channel of the pixels that both a stencil and a mask select.
///
/// A position outside the image is reported as argument 3 here, unlike in the form for all channels.
///
/// @param src      countable or signed of at most 16 bits
/// @param mask     a mask of src, addressed like src
/// @param stencil  as above
/// @param pos      as above
/// @param channel  0...channels - 1
/// @param hist     for src, with as many planes as src has channels
/// @param plane    0...planes - 1
/// @param count    receives the number of selected pixels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, of another type, or too deep
///   ResultBadArg2          mask is none of src
///   ResultBadArg3          stencil absent, not mono or not `UInt8`
///   ResultBadArg3          pos outside src
///   ResultBadArg3          stencil wider or higher than src
///   ResultBadArg4          stencil leaves src
///   ResultBadArg5          no such channel
///   ResultBadArg6          hist without bins, with other than `channels` planes, or with too few levels
///   ResultBadArg7          no such plane
///   ResultUnsupportedType  unknown packing
KO_EXPORT ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const SxImageBuf& stencil,
                                     const QPoint& pos, int channel, CxImageHistogram& hist, int plane,
                                     int& count);

/// Sizes a histogram to an image and counts the image into it, whatever its integer type.
///
/// The layout decides the planes: a mono image without mosaic (`bayerGrid` 4) has one; of 3 or 4 channels the
/// first three have one each; a mono mosaic has one per cell position. The planes of the positions
/// (x even, y even), (x odd, y even), (x even, y odd), (x odd, y odd) are
///
///   `bayerGrid` 0: 3, 1, 2, 0    1: 0, 1, 2, 3    2: 1, 3, 0, 2    3: 1, 0, 3, 2
///
/// Negative samples are left out.
///
/// @param src   interleaved, any integer type
/// @param hist  resized to 1, 3 or 4 planes of 2^bitsPerSample levels, without extra bins
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultUnsupportedType  src not interleaved
///   ResultBadArg1          2^bitsPerSample is not in 1...2^31 - 1
///   ResultUnsupportedType  another layout: mono with another `bayerGrid`, 2 channels, more than 4, none
///   ResultUnsupportedType  src not of an integer type; hist has been resized and holds zeros then
KO_EXPORT ResultCode HistogramEx(const SxImageBuf& src, CxImageHistogram& hist);

/// Counts the gray of four-channel images, (c0 + c1 + c2) / 3 truncated, into one plane.
///
/// Planar images are read byte by byte whatever their type, `width` bytes of each row, and their gray is
/// taken from planes 0, 1 and 3. Levels are not asked for; a gray at or above them is left out. Samples are
/// read without sign.
///
/// @param src    4 channels, `Int8`, `UInt8`, `Int16` or `UInt16`
/// @param hist   any number of levels
/// @param plane  0...planes - 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not of 4 channels, or of a type of 4 bytes or more
///   ResultBadArg2          hist without planes
///   ResultBadArg3          no such plane
///   ResultUnsupportedType  src.dataType or packing unknown
KO_EXPORT ResultCode HistogramGrayFromRGB(const SxImageBuf& src, CxImageHistogram& hist, int plane);

/// Counts gray and colours of the pixels that a mask selects: `HistogramRGBGrayFromRGB` with a mask. Note
/// that the unmasked operation of the same name takes other images and fills another plane.
///
/// @param src   3 or 4 channels, `Int8`, `UInt8`, `Int16` or `UInt16`
/// @param hist  4 planes of exactly 2^bitsPerSample levels
/// @param mask  a mask of src
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not of 3 or 4 channels
///   ResultBadArg2          mask is none of src
///   ResultBadArg3          hist of other planes or levels
///   ResultUnsupportedType  src.dataType or packing without implementation
KO_EXPORT ResultCode HistogramGrayFromRGBMasked(const SxImageBuf& src, CxImageHistogram& hist,
                                                const SxImageBuf& mask);

/// Counts gray, (c0 + c1 + c2) / 3 truncated, into plane 0 and channels 0, 1 and 2 into planes 1, 2 and 3.
///
/// @param src   3 or 4 channels, `Int8`, `UInt8`, `Int16` or `UInt16`, read without sign
/// @param hist  4 planes of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not of 3 or 4 channels
///   ResultBadArg2          hist of other planes or levels
///   ResultUnsupportedType  src.dataType or packing without implementation
KO_EXPORT ResultCode HistogramRGBGrayFromRGB(const SxImageBuf& src, CxImageHistogram& hist);

/// The same operation as `HistogramGrayFromRGBMasked`, status codes included.
KO_EXPORT ResultCode HistogramRGBGrayFromRGBMasked(const SxImageBuf& src, CxImageHistogram& hist,
                                                   const SxImageBuf& mask);

/// Counts gray and colours where a mask with a plane per colour selects them.
///
/// Channel c counts into plane c + 1 where plane c of the mask is not zero. Plane 0 receives the truncated
/// mean of the channels selected at a pixel, where there are any.
///
/// @param src   3 or 4 channels, `Int8`, `UInt8`, `Int16` or `UInt16`, read without sign
/// @param mask  3 channels, `UInt8`, `Planar`, of src's size
/// @param hist  4 planes of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not of 3 or 4 channels
///   ResultBadArg2          mask absent or of another format or size
///   ResultBadArg3          hist of other planes or levels
///   ResultUnsupportedType  src.dataType or packing without implementation
KO_EXPORT ResultCode HistogramRGBGrayFromRGBMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                   CxImageHistogram& hist);

/// Counts a mosaic that was split into one plane per cell position.
///
/// Of the samples p0...p3 of a pixel, (p0 + p1 + p2 + p3) >> 2 counts into plane 0, p0 into plane 1, p2 into
/// plane 3, and both p1 and p3 into plane 2: the mosaic has that colour twice.
///
/// @param src   4 channels, `Planar`, `Int8`, `UInt8`, `Int16` or `UInt16`, read without sign
/// @param hist  4 planes of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not of 4 channels or not planar
///   ResultBadArg2          hist of other planes or levels
///   ResultUnsupportedType  src.dataType has no implementation
KO_EXPORT ResultCode HistogramRGBGrayFromRawPlanar(const SxImageBuf& src, CxImageHistogram& hist);

/// Counts the pixels of a split mosaic that a mask selects.
///
/// The mask is not checked, and a histogram that does not fit is reported as argument 2. The byte at
/// y * mask.stride + x decides, whatever the mask's type and channels. An absent mask selects nothing, nor
/// does one outside its own size or memory.
///
/// @param src   4 channels, `Planar`, `Int8`, `UInt8`, `Int16` or `UInt16`, read without sign
/// @param mask  best a mask of src
/// @param hist  4 planes of exactly 2^bitsPerSample levels
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not of 4 channels or not planar
///   ResultBadArg2          hist of other planes or levels
///   ResultUnsupportedType  src.dataType has no implementation
KO_EXPORT ResultCode HistogramRGBGrayFromRawPlanarMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                         CxImageHistogram& hist);

}  // namespace ko
