// Binarisation, border images and masks.
#pragma once

#include <ko/image.h>

#include <QPoint>
#include <QRect>
#include <QVariant>

namespace ko {

/// Marks the non-zero samples of a mono image.
///
/// A dst over the same memory as a src of the same layout is allowed.
///
/// @param src    mono, any sample type but `Sample128`; height x width, any stride
/// @param dst    mono `UInt8` of src's size; every sample of it is written, padding is not
/// @param value  sample written where src is not zero (NaN counts as not zero, -0.0 as zero), 0...255
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          dst absent, not mono, not `UInt8`, or of another size
///   ResultUnsupportedType  src.dataType has no implementation
/// On failure dst is untouched. Rows run in parallel (static). O(height * width).
KO_EXPORT ResultCode Binarize(const SxImageBuf& src, SxImageBuf& dst, unsigned char value);

// ---------------------------------------------------------------- borders
//
// Margins are pixels: left, top, right, bottom. Mind the codes of a bad margin: all operations here but
// `InitSafeBorder` test and number them in the order left, right, top, bottom. A margin that makes the image
// wider or higher than 2^31 - 1 is refused with its own code.

/// Allocates an image that is larger than `info` by a margin on each side.
///
/// @param info  `Interleaved`; its data, if it is an image, is not looked at
/// @param dst   record to fill, its former contents are overwritten; cleared memory, stride chosen by
///              `AllocBuffer`. Release it with `FreeBuffer`
/// @param left, top, right, bottom  0...info.width (left, right) or info.height (top, bottom)
/// @returns the first that applies, in this order
///   ResultBadArg1  info not `Interleaved`
///   ResultBadArg3  left out of range
///   ResultBadArg4  right out of range
///   ResultBadArg5  top out of range
///   ResultBadArg6  bottom out of range
///   ResultFailed   no memory; dst.data is null
KO_EXPORT ResultCode AllocSafeBorderImage(const SxImageInfo& info, SxImageBuf& dst, int left, int top,
                                          int right, int bottom);

/// Allocates an image that is larger than `src` by a margin on each side and copies `src` into its centre.
/// The margin holds zeros.
///
/// @param src   any format
/// @param dst   record to fill, its former contents are overwritten; release it with `FreeBuffer`
/// @param left, top, right, bottom  0 or more, without upper limit
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent
///   ResultBadArg3  left negative
///   ResultBadArg4  top negative
///   ResultBadArg5  right negative
///   ResultBadArg6  bottom negative
///   ResultFailed   no memory (dst.data is null), or src's rows are longer than its stride (dst is allocated)
/// Runs on the calling thread. O(height * width).
KO_EXPORT ResultCode InitSafeBorder(const SxImageBuf& src, SxImageBuf& dst, int left, int top, int right,
                                    int bottom);

/// Copies `src` into the centre of `dst` and fills the margin by mirroring: the pixel next to the edge
/// repeats the edge pixel, the next one the pixel one further inside.
///
/// @param src   `Interleaved`, 1, 3 or 4 channels, samples of one or two bytes
/// @param dst   (width + left + right) x (height + top + bottom) of src's format; must not overlap src
/// @param left, top, right, bottom  0...src.width (left, right) or src.height (top, bottom)
/// @returns the first that applies, in this order
///   ResultBadArg1          src not `Interleaved`, absent, or of other channels
///   ResultBadArg2          dst absent, of another format or size
///   ResultBadArg3          left out of range
///   ResultBadArg4          right out of range
///   ResultBadArg5          top out of range
///   ResultBadArg6          bottom out of range
///   ResultUnsupportedType  src.dataType outside 1...11, or samples of another size and any margin above 0;
///                          the centre of the latter has been copied then
/// Rows run in parallel (dynamic). O(height * width).
KO_EXPORT ResultCode CreateImageWithMirroredBorder(const SxImageBuf& src, SxImageBuf& dst, int left, int top,
                                                   int right, int bottom);

/// Copies a region of `src` into the centre of `dst` and mirrors it into the margin; pixels of src outside
/// the region are not used.
///
/// @param src   `Interleaved`, 1, 3 or 4 channels, samples of one or two bytes
/// @param roi   inside src
/// @param dst   (roi width + left + right) x (roi height + top + bottom) of src's format; must not
///              overlap src
/// @param left, top, right, bottom  0...roi width (left, right) or roi height (top, bottom)
/// @returns the first that applies, in this order
///   ResultBadArg1          src not `Interleaved`, absent, or of other channels
///   ResultBadArg2          roi outside src
///   ResultBadArg3          dst absent, of another format or size
///   ResultBadArg4          left out of range
///   ResultBadArg5          right out of range
///   ResultBadArg6          top out of range
///   ResultBadArg7          bottom out of range
///   ResultUnsupportedType  src.dataType outside 1...11, or samples of another size and any margin above 0;
///                          the centre of the latter has been copied then
/// Rows run in parallel (dynamic). O(height * width).
KO_EXPORT ResultCode CreateImageWithMirroredBorder(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst,
                                                   int left, int top, int right, int bottom);

/// `AllocSafeBorderImage` followed by `CreateImageWithMirroredBorder`, with the statuses of the step that
/// failed. When the second step fails, dst stays allocated and filled as far as that step got; the caller
/// frees it.
KO_EXPORT ResultCode AllocAndCreateMirroredBorderImage(const SxImageBuf& src, SxImageBuf& dst, int left,
                                                       int top, int right, int bottom);

// ---------------------------------------------------------------- masks

/// Sets every pixel that the mask does not select to 0, in all channels.
///
/// Samples are addressed as interleaved whatever the packing: on a planar image of several channels the first
/// planes are cleared in a useless pattern. Mask its planes one by one instead.
///
/// @param image  any sample type but `Sample128`
/// @param mask   mono `UInt8` of image's size
/// @returns the first that applies, in this order
///   ResultBadArg1  image absent
///   ResultBadArg2  mask absent, not mono, not `UInt8`, or of another size
///   ResultFailed   image.dataType has no implementation
/// Runs on the calling thread, on several within `CallThreads`. O(height * width * channels).
KO_EXPORT ResultCode MaskImage(SxImageBuf& image, const SxImageBuf& mask);

/// Writes a value wherever a mask selects; the mask can be smaller than the image and lie anywhere in it.
///
/// @param image  mono, any sample type but `Sample128`
/// @param mask   mono `UInt8`, not larger than image
/// @param pos    where the mask's top left corner goes; the whole mask must lie inside the image
/// @param value  sample to write, cut to the sample's low bits
/// @returns the first that applies, in this order
///   ResultBadArg1  image absent or not mono
///   ResultBadArg2  mask absent, not mono, or not `UInt8`
///   ResultBadArg3  mask at pos leaves the image
///   ResultFailed   image.dataType has no implementation
/// Runs on the calling thread, on several within `CallThreads`. O(mask height * mask width).
KO_EXPORT ResultCode SetValueMasked(SxImageBuf& image, const SxImageBuf& mask, const QPoint& pos,
                                    const QVariant& value);

/// Marks with 1 the pixels that differ from a value.
///
/// Interleaved images are compared by words of 16 bits, one at each of the first `channels` bytes of the
/// pixel. For mono `UInt16` that is the plain comparison. For mono `UInt8` a pixel is equal only if it holds
/// the value and the byte behind it is 0; for wider samples only the low 16 bits take part. A byte behind the
/// image's memory counts as 0. Use `ThresholdBinaryGT` or `Binarize` for a plain comparison of other types.
///
/// Planar images are compared sample by sample; a mask byte becomes 1 when any plane differs and is never
/// cleared, so clear the mask first.
///
/// @param src    integer samples, any channels
/// @param mask   mono `UInt8` of src's size
/// @param value  compared at the width of the sample (its low 8 or 16 bits for such samples)
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, or its samples are not integers of up to 64 bits
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultUnsupportedType  packing neither `Interleaved` nor `Planar`
/// Interleaved images run on the calling thread, on several within `CallThreads`; planes run one after
/// another, with their rows in parallel (static). O(height * width * channels).
KO_EXPORT ResultCode BinaryMask(const SxImageBuf& src, SxImageBuf& mask, unsigned int value);

/// Makes the mask of a filled, rotated ellipse in the smallest image of odd size that holds it.
///
/// @param out         empty record (data null) that receives a mono `UInt8` image whose stride is its width
///                    rounded up to 4; release it with `FreeBuffer`
/// @param a           larger semi-axis in pixels, 1 or more
/// @param b           smaller semi-axis in pixels, 1...a
/// @param angle       from the x axis to the larger semi-axis, radians, rows growing downwards; an angle
///                    that is not finite counts as 0
/// @param background  sample outside, also in the row padding
/// @param foreground  sample inside
/// @returns the first that applies, in this order
///   ResultBadArg1  out holds an image
///   ResultBadArg2  a below 1
///   ResultBadArg3  b below 1 or above a
///   ResultFailed   no memory, or an image too large to exist; out.data is null
/// Runs on the calling thread. O(a * a).
KO_EXPORT ResultCode EllipseMaskMono(SxImageBuf& out, int a, int b, double angle, unsigned char background,
                                     unsigned char foreground);

/// Makes a colour picture of a filled, rotated ellipse: as `EllipseMaskMono`, with three interleaved
/// channels.
///
/// @param background  three bytes, one per channel, for the pixels outside; the row padding is not written
/// @param foreground  three bytes, one per channel, for the pixels inside
/// @returns as `EllipseMaskMono`, and before memory is asked for
///   ResultBadArg5  background null
///   ResultBadArg6  foreground null
KO_EXPORT ResultCode EllipseMaskRgb(SxImageBuf& out, int a, int b, double angle,
                                    const unsigned char* background, const unsigned char* foreground);

/// Looks up the stored mask of a filled disc.
///
/// @param size  diameter in pixels, 2...15
/// @param out   receives size rows of size bytes, 1 inside and 0 outside, without row padding; owned by the
///              library and constant. Null for any other size
/// @returns whether there is a mask of that size; false when `out` is null
KO_EXPORT bool GetCircleMaskByte(int size, const unsigned char** out);

}  // namespace ko
