// Conversion of floating-point and wide-integer images to unsigned ones.
//
// The range of the source is mapped linearly onto that of the destination: its bitsPerSample, not its
// container, sets the top value 2^bitsPerSample - 1. Results are truncated, never rounded.
//
// Ranges come from `MinMax`, `MinMaxMasked` or `MinMaxMosaic` and follow their rules: NaN never counts, an
// empty selection has the starting values. They are written to the caller's arrays `min` and `max`, either of
// which may be null, on success only. Joint normalisation writes the joint range into every element.
//
// A destination must not overlap its source.
#pragma once

#include <ko/image.h>

namespace ko {

/// Which channels, or which of the four cell positions of a mosaic, share a range.
enum NormalizationType : std::int32_t {
    NormalizeSeparate = 0,  ///< none: each has its own
    NormalizeJoint = 1,     ///< all: from the least minimum to the greatest maximum
};

/// Maps the measured range of a double image onto an unsigned one.
///
/// A sample x becomes trunc(clamp((x - minimum) * (top / (maximum - minimum)), 0, top)), computed in double;
/// NaN becomes 0. The top is cut to the low bits of the container. The maximum itself may come out one below
/// the top where the scale was rounded down. Deliberately uneven:
/// - A mono image or a plane whose minimum equals its maximum clears the **whole memory** of the destination,
///   or of that plane: stride * height bytes, padding included. Mind this for a record that views a part of a
///   larger image. A constant channel of interleaved pixels becomes 0 in its own samples only.
/// - A mosaic (one channel, bayerGrid other than `BayerNone`) has a range per position of its 2 x 2 cell,
///   (x mod 2) + 2 * (y mod 2), and no clamp: values that zeroBased puts outside the range wrap to the low
///   bits of the sample.
///
/// @param src            `Float64`; height x width x channels, interleaved or planar
/// @param dst            `UInt8`, `UInt16` or `UInt32` of src's size, channels and packing
/// @param normalization  of channels or cell positions; not looked at for one channel without a mosaic
/// @param min, max       null, or one element per channel; four for a mosaic
/// @param zeroBased      true puts 0 in the place of every minimum
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not `Float64`
///   ResultBadArg2          dst absent, of another size, channel count or packing
///   ResultUnsupportedType  dst of another type, or src has several channels in an unknown packing
///   ResultFailed           the range cannot be measured: a mosaic of odd or empty size, several interleaved
///                          channels with a mosaic, one channel in an unknown packing; an unknown
///                          normalization; no memory
/// On failure dst, min and max are untouched. The range is measured as `MinMax` does it, then rows run in
/// parallel (static), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ConvertDoubleToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                                      double* min, double* max, bool zeroBased);

/// Maps the measured range of a `Float32` image onto an unsigned one. Everything else is as for
/// `ConvertDoubleToU`, the computation in double included.
KO_EXPORT ResultCode ConvertFloatToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                                     float* min, float* max, bool zeroBased);

/// Maps the measured range of a float image onto bytes for display.
///
/// A sample x becomes the low 8 bits of trunc((x - minimum) * (255 / (maximum - minimum))), computed in
/// single precision, whatever dst.bitsPerSample. What is not a finite number on the way becomes 0: NaN
/// samples, and channels whose minimum equals their maximum. **Pixels of three interleaved channels are
/// stored in reverse order** (red, green, blue become blue, green, red); other channel counts and planes keep
/// theirs.
///
/// @param src            `Float32`; height x width x channels, interleaved or planar; a mosaic has one range
/// @param dst            `UInt8` of src's size, channels and packing
/// @param normalization  of channels; looked at for one channel too
/// @param min, max       null, or one element per channel of src
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent or not `Float32`
///   ResultBadArg2  dst absent, not `UInt8`, of another size, channel count or packing
///   ResultBadArg3  normalization unknown, or the range cannot be measured: an unknown packing, several
///                  interleaved channels with a mosaic
///   ResultFailed   no memory
/// On failure dst, min and max are untouched. The range is measured as `MinMax` does it, then rows run in
/// parallel (static), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ConvertFloatToU8(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                                      float* min, float* max);

/// `ConvertFloatToU8` of the pixels that a mask selects; the others keep what dst holds. The range is that of
/// the selected pixels.
///
/// @param mask  mono `UInt8` of src's size; every non-zero byte selects its pixel
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent or not `Float32`
///   ResultBadArg2  mask absent, not `UInt8`, of another size
///   ResultBadArg3  dst absent, not `UInt8`, of another size, channel count or packing
///   ResultBadArg4  normalization unknown, or the range cannot be measured: mask not mono, an unknown packing
///   ResultFailed   no memory
/// On failure dst, min and max are untouched. The range is measured as `MinMax` does it, then rows run in
/// parallel (static), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ConvertFloatToU8(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                                      NormalizationType normalization, float* min, float* max);

/// Maps the range that the selected pixels of a double image have onto 8- or 16-bit samples; the other pixels
/// keep what dst holds.
///
/// A sample x becomes the low bits of trunc((x - minimum) * (top / (maximum - minimum))), computed in double
/// with a top that is not cut to the container and without a clamp. NaN, and all of a channel whose minimum
/// equals its maximum, become 0. Only the first three channels are converted; a fourth keeps what dst holds,
/// but takes part in the range.
///
/// @param src            `Float64`; height x width x channels, interleaved or planar; a mosaic has one range
/// @param mask           mono `UInt8` of src's size; every non-zero byte selects its pixel
/// @param dst            `Int8`, `UInt8`, `Int16` or `UInt16` of src's size, channels and packing
/// @param normalization  of channels; not looked at for one channel without a mosaic
/// @param min, max       null, or one element per channel
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent or not `Float64`
///   ResultBadArg2  mask absent, of another size;
///                  for an interleaved src not mono;
///                  for a planar src of several channels that are not planar
///   ResultBadArg3  dst absent, of another type, size, channel count or packing
///   ResultFailed   the range cannot be measured: any other mask that is not mono `UInt8`,
///                  an unknown packing;
///                  an unknown normalization; no memory
/// On failure dst, min and max are untouched. The range is measured as `MinMax` does it, then rows run in
/// parallel (static), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ConvertDoubleToUMasked(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                                            NormalizationType normalization, double* min, double* max);

/// Maps the measured range of an `Int32` image onto 8- or 16-bit samples.
///
/// A sample x becomes the low bits of trunc((x - minimum) * (top / (maximum - minimum))), without a clamp and
/// with a top that is not cut to the container. Both differences are 32-bit and wrap: a range of 2^31 and
/// more gives results of little use. A channel whose minimum equals its maximum becomes 0.
///
/// @param src            `Int32`; height x width x channels, interleaved or planar; a mosaic has one range
/// @param dst            `UInt8` or `UInt16` of src's size, channels and packing
/// @param normalization  of channels; not looked at for one channel without a mosaic
/// @param min, max       null, or one element per channel
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not `Int32`
///   ResultBadArg2          dst absent, without a valid type, of another size, channel count or packing
///   ResultUnsupportedType  src has several channels in an unknown packing; dst neither `UInt8` nor `UInt16`
///   ResultFailed           the range cannot be measured: several interleaved channels with a mosaic;
///                          an unknown normalization; no memory
/// On failure dst, min and max are untouched. The range is measured as `MinMax` does it, then rows run in
/// parallel (dynamic), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ConvertI32ToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                                   int* min, int* max);

/// Maps a given range of a floating-point image onto an unsigned one.
///
/// A sample x becomes trunc(clamp((x - min) * scale, 0, top)) with scale = 2^bitsPerSample / (max - min) and
/// top = 2^bitsPerSample - 1 of dst; NaN becomes 0. The scale is deliberately one step larger than that of
/// the other conversions: max itself lands above the top and is clamped. The 2^bitsPerSample is cut to 32
/// bits, so that a depth of 32 bits gives 0 everywhere. `Float32` samples are mapped in single precision,
/// min, max and the scale rounded to it. Where min equals max, mono images and planes clear their **whole
/// memory**, padding included, and interleaved pixels become 0.
///
/// @param src       `Float32` or `Float64`; height x width x channels, interleaved or planar; every field of
///                  the record set, bitsPerSample included
/// @param dst       `UInt8`, `UInt16` or `UInt32` of src's size, channels and packing
/// @param min, max  one range for all channels, in any order; a mosaic is treated as any mono image
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, its width, height, channels or bitsPerSample below 1, of another type
///   ResultBadArg2          dst likewise, or of another size, channel count or packing than src
///   ResultUnsupportedType  src has several channels in an unknown packing
/// On failure dst is untouched. Rows run in parallel (static), planes in turn. O(height * width * channels).
KO_EXPORT ResultCode ScaleDoubleFloatToU(const SxImageBuf& src, SxImageBuf& dst, double min, double max);

}  // namespace ko
