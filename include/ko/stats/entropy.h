// Entropy and Otsu thresholds.
#pragma once

#include <ko/image.h>

namespace ko {

/// Shannon entropy of the distribution of the sample values.
///
/// Minus the sum of p * log(p) over the levels, with p the share of a level's pixels; 0 for an image without
/// pixels. The logarithms of all counts up to the number of pixels are computed once per base and kept, so
/// that later images of at most that size cost little more than their histogram. Samples at or above
/// 2^`bitsPerSample` are not counted.
///
/// @param src      mono `UInt8` or `UInt16`, of at most 8 or 16 bits
/// @param entropy  result in units of the base: bits for 2
/// @param base     base of the logarithm, positive and not 1; NaN gives NaN
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, or neither `UInt8` nor `UInt16`
///   ResultBadArg3  base zero, negative or 1
///   ResultFailed   the image cannot be counted (its depth exceeds its samples), or memory runs out
///                  (the table takes eight bytes per pixel)
/// On failure entropy is untouched. Runs on the calling thread; callers that share a base wait for each other
/// while a table is made. O(height * width).
/// @source C. E. Shannon, A mathematical theory of communication, 1948
KO_EXPORT ResultCode EntropyShannon(const SxImageBuf& src, double& entropy, double base);

/// Rényi entropy of the distribution of the sample values.
///
/// log(sum of p^alpha) / (1 - alpha) over the levels, with p the share of a level's pixels. Unlike
/// `EntropyShannon` it has no answer for an image without pixels: the difference of two infinities, that is
/// NaN. Powers are kept between calls like the logarithms there.
///
/// @param src      mono `UInt8` or `UInt16`, of at most 8 or 16 bits
/// @param alpha    order, positive and not 1; NaN gives NaN
/// @param entropy  result in units of the base: bits for 2
/// @param base     base of the logarithm, positive and not 1; NaN gives NaN
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, or neither `UInt8` nor `UInt16`
///   ResultBadArg2  alpha zero, negative or 1
///   ResultBadArg4  base zero, negative or 1
///   ResultFailed   the image cannot be counted (its depth exceeds its samples), or memory runs out
///                  (the table takes eight bytes per pixel)
/// On failure entropy is untouched. Runs on the calling thread; callers that share an order wait for each
/// other while a table is made. O(height * width).
/// @source A. Rényi, On measures of entropy and information, 1961
KO_EXPORT ResultCode EntropyRenyi(const SxImageBuf& src, double alpha, double& entropy, double base);

/// Always gives threshold 0: the search runs on an empty histogram. Kept for programs that rely on it; use
/// `ComputeOtsuThresholdMasked`, with a mask of ones for the whole image, to get a threshold.
///
/// No pixel is read; src may be absent.
///
/// @param src        mono `UInt8` or `UInt16`
/// @param threshold  set to 0, on failure too
/// @returns
///   ResultBadArg1  src not mono, or neither `UInt8` nor `UInt16`
KO_EXPORT ResultCode ComputeOtsuThreshold(const SxImageBuf& src, unsigned int& threshold);

/// Otsu's threshold of the selected pixels: the level t at which the variance between the samples up to t and
/// those above t is largest; of equally good levels the highest.
///
/// Counts, their products and the sums of the samples are kept in 32 bits, wrap, and are read as signed. From
/// some 92,000 selected pixels on, or 32,768 of the brightest 16-bit ones, these can reach 2^31, and the
/// threshold may not be Otsu's; it stays what it is for programs that rely on it. 0 where fewer than two
/// values are selected. Samples at or above 2^`bitsPerSample` are not counted.
///
/// @param src        mono `UInt8` or `UInt16`, of at most 8 or 16 bits
/// @param mask       mono `UInt8` of src's size; every non-zero byte selects
/// @param threshold  result; set to 0 on every failure
/// @returns the first that applies, in this order
///   ResultBadArg1  src not mono, or neither `UInt8` nor `UInt16`
///   ResultBadArg2  mask absent, not mono, not `UInt8`, or of another size
///   ResultFailed   the image cannot be counted (src is absent or its depth exceeds its samples), which
///                  logs "Failed to calculate the image histogram", or memory runs out
/// Runs on the calling thread. O(height * width + levels).
/// @source N. Otsu, A threshold selection method from gray-level histograms, 1979
KO_EXPORT ResultCode ComputeOtsuThresholdMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                unsigned int& threshold);

}  // namespace ko
