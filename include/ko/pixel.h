// Pixel-wise operators: thresholding, logic with a constant, clamping to the colour depth.
#pragma once

#include <ko/image.h>

#include <QVariant>

namespace ko {

/// Gives every sample of a mono image one of two values, in place: high where it is above the threshold, low
/// elsewhere.
///
/// @param image      mono, any integer type; height x width, any stride
/// @param threshold  compared in the sample's type, signed for signed types
/// @param low, high  results. All three are converted to numbers (`toInt`, `toUInt` ...) and cut to the low
///                   bits of the sample
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent or not mono
///   ResultUnsupportedType  dataType is not an integer type; the copy form takes floats too
/// On failure image is untouched. Rows run in parallel (static). O(height * width).
KO_EXPORT ResultCode ThresholdBinary(SxImageBuf& image, const QVariant& threshold, const QVariant& low,
                                     const QVariant& high);

/// Gives every sample one of its channel's two values: highs[c] where it is above thresholds[c], lows[c]
/// elsewhere.
///
/// The comparison is made in the sample's type; NaN is above nothing. Of interleaved `UInt8` images with four
/// channels only the first three are treated, and the fourth of dst stays as it was. dst may be the memory of
/// a src with the same stride.
///
/// @param src         any type but `Sample128`, any channels; height x width, any stride
/// @param dst         of src's size, channels, bitsPerSample, bayerGrid, dataType, packing and pixelFormat
/// @param thresholds  one per channel, as are the following; converted to the sample's own type, a value that
///                    does not convert acts as 0
/// @param lows, highs results
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          dst absent, of another size or format
///   ResultBadArg3          thresholds null
///   ResultBadArg4          lows null
///   ResultBadArg5          highs null
///   ResultUnsupportedType  src has several channels in an unknown packing, or its dataType has no
///                          implementation
/// On failure dst is untouched. Rows run in parallel (static), planes in turn.
/// O(height * width * channels).
KO_EXPORT ResultCode ThresholdBinary(const SxImageBuf& src, SxImageBuf& dst, const QVariant* thresholds,
                                     const QVariant* lows, const QVariant* highs);

/// The copy form of `ThresholdBinary` with a mask that is looked at and has no effect: the whole image is
/// treated. The mask's samples are not read.
///
/// @param mask  mono `UInt8` of src's size; the other parameters are those of `ThresholdBinary`
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          dst absent, of another size or format
///   ResultBadArg4          thresholds null
///   ResultBadArg5          lows null
///   ResultBadArg6          highs null
///   ResultUnsupportedType  src has several channels in an unknown packing, or its dataType has no
///                          implementation
/// On failure dst is untouched. Rows run in parallel (static), planes in turn.
/// O(height * width * channels).
KO_EXPORT ResultCode ThresholdBinaryMasked(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                                           const QVariant* thresholds, const QVariant* lows,
                                           const QVariant* highs);

/// Marks the samples above their channel's threshold: highs[c] where a sample is above thresholds[c], 0
/// elsewhere.
///
/// The comparison is made in src's type; NaN is above nothing. dst may have another channel count than src:
/// each image keeps its own layout, and the channels that both have are treated. dst may be the memory of a
/// `UInt8` src with the same layout.
///
/// @param src              any type but `Sample128`, any channels; height x width, any stride
/// @param dst              `UInt8` of src's size and packing
/// @param thresholds       one per channel of src, converted to the sample's own type; a value that does not
///                         convert acts as 0
/// @param highs            one per channel of src, 0...255
/// @param fourChannelRule  true: of interleaved images with four channels only the first three are treated,
///                         and the fourth of dst stays as it was
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          dst absent, not `UInt8`, of another size or packing
///   ResultBadArg3          thresholds null
///   ResultBadArg4          highs null
///   ResultUnsupportedType  src has several channels in an unknown packing, or its dataType has no
///                          implementation
/// On failure dst is untouched. Rows run in parallel (static), planes in turn.
/// O(height * width * channels).
KO_EXPORT ResultCode ThresholdBinaryGT(const SxImageBuf& src, SxImageBuf& dst, const QVariant* thresholds,
                                       unsigned char* highs, bool fourChannelRule);

/// Replaces the samples at or below their channel's threshold, in place: such a sample becomes values[c], one
/// above stays.
///
/// The comparison is made in the sample's type; NaN stays. Of planar images only the first plane changes, by
/// the levels of channel 0.
///
/// @param image            any type but `Sample128`, any channels; height x width, any stride
/// @param thresholds       one per channel, as are the values; converted to the sample's own type, a value
///                         that does not convert acts as 0
/// @param values           replacements
/// @param fourChannelRule  true: of interleaved images with four channels the fourth stays as it is
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent
///   ResultBadArg2          thresholds null
///   ResultBadArg3          values null
///   ResultUnsupportedType  image has several channels in an unknown packing, or its dataType has no
///                          implementation
/// On failure image is untouched. Rows run in parallel (static). O(height * width * channels).
KO_EXPORT ResultCode ThresholdGT(SxImageBuf& image, const QVariant* thresholds, const QVariant* values,
                                 bool fourChannelRule);

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
/// - `UInt32` samples of 0x80000000 and above are negative here and stay, unless the depth is 31 or more.
///   Of a `UInt64` sample the low 32 bits are compared, likewise as a signed number.
///
/// @param image  interleaved or planar, `UInt8`, `UInt16`, `UInt32` or `UInt64`; height x width x channels
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent
///   ResultUnsupportedType  another packing, mono images included, or another type
/// On failure image is untouched. Rows run in parallel (dynamic), planes in turn.
/// O(height * width * channels).
KO_EXPORT ResultCode ClampToColorDepth(SxImageBuf& image);

}  // namespace ko
