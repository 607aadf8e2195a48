// Median of the square around every sample.
#pragma once

#include <ko/image.h>

namespace ko {

/// Replaces every sample by the median of its channel's samples in the square window around it.
///
/// The window is cut at the image's edges. Of an even number of samples there, the lower of the two in the
/// middle is taken: the result is the smallest value that at least half of the window's samples do not
/// exceed. Samples at or above 2^bitsPerSample count as 2^bitsPerSample - 1.
///
/// @param src     interleaved `UInt8` or `UInt16` with a `bitsPerSample` that its container can hold, 1 or 3
///                channels; height x width
/// @param dst     of src's size, channels, depth, sample type and packing; must not overlap src
/// @param radius  the window is 2 * radius + 1 samples wide and high, at most as many as the image; 0 copies
/// @param buffer  from `MedianAllocBuffer` for src's format, not in use by another call; null makes one for
///                this call. A buffer made for another radius serves as well unless it is too small.
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          dst absent or unlike src
///   ResultBadArg3          radius negative, or the window wider or higher than the image
///   ResultUnsupportedType  src not interleaved, of another type or depth, or without channels
///   ResultIncompatible     buffer made for another size or format, or too small for the radius
///   ResultUnsupportedType  buffer with counters of unknown width
///   ResultFailed           no buffer given, and none could be made; with 4 channels it never can
///   ResultOk               2 channels, or more than 4: nothing is filtered, dst is untouched
///   ResultBadArg1          rows of src are longer than its stride
///   ResultBadArg2          rows of dst are longer than its stride
///   ResultFailed           out of memory, or radius above 32767
/// On failure dst is untouched. Strips, or bands of rows up to radius 9, run in parallel (dynamic), and before
/// them patches of bytes from radius 5 to 127.
/// O(height * width), times radius up to 9.
/// @source A. Adams, "Fast median filters using separable sorting networks", SIGGRAPH 2021: radius 1 to 2
/// @source L. Sugy, "A fast parallel median filtering algorithm using hierarchical tiling", 2025: 3 to 9
/// @source S. Perreault, P. Hébert, "Median filtering in constant time", IEEE Trans. Image Processing 16(9), 2007:
///         from 10 on
KO_EXPORT ResultCode Median(const SxImageBuf& src, SxImageBuf& dst, int radius, void* buffer);

/// Makes the work buffer of `Median` for images of one format, with as many strips as there are threads now.
///
/// @param info    of the images to be filtered; their stride does not matter
/// @param radius  of the window
/// @param buffer  receives the buffer; release it with `MedianFreeBuffer`
/// @returns the first that applies, in this order
///   ResultBadArg1          no pixels, or 4 channels
///   ResultUnsupportedType  not `UInt8` or `UInt16`, a depth outside the container's, no channels, or planar
///   ResultBadArg2          radius negative, or the window wider than the image (its height is not looked at)
///   ResultFailed           out of memory
///   ResultBadArg3          buffer null
/// On failure `*buffer` is left as it was.
KO_EXPORT ResultCode MedianAllocBuffer(const SxImageInfo& info, int radius, void** buffer);

/// Releases a buffer of `MedianAllocBuffer`; null is allowed.
KO_EXPORT void MedianFreeBuffer(void* buffer);

}  // namespace ko
