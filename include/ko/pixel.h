// Pixel-wise operators: thresholding, logic with a constant, clamping to the colour depth.
#pragma once

#include <ko/image.h>

#include <QVariant>

namespace ko {

/// Combines two mono images sample by sample: value where both samples are set (not zero), 0 elsewhere. The
/// result is logical, not bit by bit: masks with different set values go together.
///
/// The two images may be the same memory.
///
/// @param src    mono, any integer type; height x width, any stride
/// @param dst    of src's size, bitsPerSample, bayerGrid, dataType, packing and pixelFormat; read and
///               overwritten, padding apart
/// @param value  set value of the result, converted to a number (`toInt`, `toUInt` ...) and cut to the low
///               bits of the sample; null means 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          dst absent, of another size or format
///   ResultUnsupportedType  dataType is not an integer type
/// On failure dst is untouched. Rows run in parallel (static). O(height * width).
KO_EXPORT ResultCode And(const SxImageBuf& src, SxImageBuf& dst, QVariant* value);

/// Combines two mono images sample by sample: value where at least one sample is set (not zero), 0 elsewhere.
/// Everything else is as for `And`.
KO_EXPORT ResultCode Or(const SxImageBuf& src, SxImageBuf& dst, QVariant* value);

/// Combines two mono images sample by sample: value where exactly one sample is set (not zero), 0 elsewhere.
///
/// Without a value the sample that is set passes through: where src is not set dst stays (its -0.0 becomes
/// +0.0), where only src is set dst takes its sample, where both are set dst becomes 0. Of floats, NaN is set
/// and zeros of both signs are not. The two images may be the same memory.
///
/// @param src    mono, any type but `Sample128`; height x width, any stride
/// @param dst    of src's size, bitsPerSample, bayerGrid, dataType, packing and pixelFormat; read and
///               overwritten, padding apart
/// @param value  set value of the result, converted to the sample's own type; one that does not convert acts
///               as 0. Null selects the pass-through form, it does not mean 1
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          dst absent, of another size or format
///   ResultUnsupportedType  dataType has no implementation
/// On failure dst is untouched. Rows run in parallel (static). O(height * width).
KO_EXPORT ResultCode Xor(const SxImageBuf& src, SxImageBuf& dst, QVariant* value);

/// Limits the samples of an unsigned image to its colour depth, in place.
///
/// With L = 2^bitsPerSample, samples at or above L become L - 1. L and the comparison are signed 32-bit,
/// which shows in wide samples and odd depths:
/// - `UInt8` is unchanged for every depth of 8 or more, `UInt16` for 16...30.
/// - L is -2^31 for depths of 31 and more: every `UInt16` sample becomes 65535, every `UInt32` and `UInt64`
///   sample 0x7FFFFFFF.
/// - L is 0 for negative depths: the samples that reach it become the greatest value of their type.
/// - `UInt32` samples of 0x80000000 and above are negative here and stay, unless the depth is 31 or more. Of
/// a
///   `UInt64` sample the low 32 bits are compared, likewise as a signed number.
///
/// @param image  interleaved or planar, `UInt8`, `UInt16`, `UInt32` or `UInt64`; height x width x channels
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent
///   ResultUnsupportedType  another packing, mono images included, or another type
/// On failure image is untouched. Rows run in parallel (dynamic), planes in turn. O(height * width *
/// channels).
KO_EXPORT ResultCode ClampToColorDepth(SxImageBuf& image);

}  // namespace ko
