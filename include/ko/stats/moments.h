// Sums of samples and of their squares.
#pragma once

#include <ko/image.h>

#include <cstdint>

namespace ko {

/// What the mean and the variance of samples are made of. Those of parts of an image, or of several images, add up
/// exactly, number by number.
///
/// The mean is sum / count, the variance (count * squares - sum^2) / count^2.
struct SxMoments {
    std::uint64_t count = 0;    ///< samples
    std::uint64_t sum = 0;      ///< of the samples
    std::uint64_t squares = 0;  ///< sum of their squares
};

/// Pixels of the largest image whose moments fit: (2^16 - 1)^2 * 2^32 is below 2^64.
inline constexpr std::int64_t mostMomentPixels = std::int64_t{1} << 32;

/// Number, sum and sum of squares of the samples of every channel, exactly.
///
/// `bitsPerSample` is not looked at.
///
/// @param src      `UInt8` or `UInt16`, interleaved or planar
/// @param moments  array of one element per channel, in physical order
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          moments null
///   ResultOutOfRange       src has more than `mostMomentPixels` pixels
///   ResultUnsupportedType  src neither `UInt8` nor `UInt16`, or channels of an unknown packing
///   ResultBadArg1          rows of src are longer than its stride
/// On failure moments is untouched. Rows run in parallel (dynamic). O(height * width * channels).
KO_EXPORT ResultCode Moments(const SxImageBuf& src, SxMoments* moments);

/// The same over the pixels that a mask selects.
///
/// @param src      `UInt8` or `UInt16`, interleaved or planar
/// @param mask     mono `UInt8` of src's size; every non-zero byte selects its pixel in all channels
/// @param moments  array of one element per channel, in physical order; all 0 where no pixel is selected
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          moments null
///   ResultOutOfRange       src has more than `mostMomentPixels` pixels
///   ResultUnsupportedType  src neither `UInt8` nor `UInt16`, or channels of an unknown packing
///   ResultBadArg1          rows of src are longer than its stride
///   ResultBadArg2          rows of mask are longer than its stride
/// On failure moments is untouched. Rows run in parallel (dynamic). O(height * width * channels).
KO_EXPORT ResultCode MomentsMasked(const SxImageBuf& src, const SxImageBuf& mask, SxMoments* moments);

}  // namespace ko
