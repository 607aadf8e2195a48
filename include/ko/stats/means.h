// Means and standard deviations.
#pragma once

#include <ko/image.h>

namespace ko {

/// Mean of every averaged channel over a region.
///
/// The sum of the region's samples divided by its width times its height. 8- and 16-bit samples are summed in
/// 32 bits, wider integers in 64 bits; a sum that does not fit wraps (an 8-bit region wraps from some 16.8
/// million bright pixels on). Floating-point samples are added in double in raster order, on the calling
/// thread, so that the rounding does not depend on the number of threads.
///
/// An interleaved image gives one mean per physical channel. If its `pixelFormat` is 1 and it has several
/// channels, they must be 3 or 4, and only the first 3 are averaged.
///
/// A planar image gives as many means as it has planes, and all are the same: each is taken from the first
/// plane, in rows that start at sample roi.left() * `channels`. With several planes and roi.left() > 0 a row
/// starts further right than the region and may run on into what follows it; samples behind the image's
/// memory count as 0. This is deliberate; pass the view of one plane to get its mean.
///
/// @param src    any sample type but `Sample128`
/// @param roi    region inside src; one without pixels gives 0/0, that is NaN
/// @param means  array of one element per averaged channel
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          roi not inside src
///   ResultBadArg3          means null
///   ResultOutOfRange       interleaved, several channels but not 3 or 4, and `pixelFormat` 1
///   ResultOk               src.packing is neither interleaved nor planar: nothing is written, on purpose
///   ResultUnsupportedType  src.dataType has no implementation
/// On failure means is untouched. Rows of integer images run in parallel (dynamic).
/// O(roi height * roi width * channels).
KO_EXPORT ResultCode Mean(const SxImageBuf& src, const QRect& roi, double* means);

/// Mean of every channel over the pixels that a mask selects.
///
/// Sums in double, in raster order. With no pixel selected every mean is 0/0, that is NaN.
///
/// @param src    any sample type but `Sample128`, interleaved or planar
/// @param mask   mono `UInt8` of src's size; every non-zero byte selects its pixel in all channels
/// @param means  array of one element per channel, in physical order
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          means null
///   ResultUnsupportedType  src.packing is neither interleaved nor planar, or src.dataType has no
///                          implementation
/// On failure means is untouched. Runs on the calling thread. O(height * width * channels).
KO_EXPORT ResultCode MeanMasked(const SxImageBuf& src, const SxImageBuf& mask, double* means);

/// Mean and population standard deviation (divisor n) of a mono image over the pixels that a mask selects.
///
/// Sums in double in two passes in raster order: the mean first, then the squared distances from it. With no
/// pixel selected the mean is 0/0, that is NaN, and the deviation 0.
///
/// @param src     mono, any sample type but `Sample128`
/// @param mask    mono `UInt8` of src's size; every non-zero byte selects its pixel
/// @param mean    null where it is not wanted
/// @param stdDev  null where it is not wanted
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          mean and stdDev both null
///   ResultFailed           src.packing is neither interleaved nor planar
///   ResultUnsupportedType  src.dataType has no implementation; mean, where given, has been set to 0 then
/// On any other failure nothing is written. Runs on the calling thread. O(height * width).
KO_EXPORT ResultCode MeanStdDevMasked(const SxImageBuf& src, const SxImageBuf& mask, double* mean,
                                      double* stdDev);

}  // namespace ko
