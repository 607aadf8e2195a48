// Geometry and neighbourhood filters: resampling, median, gradient, distance.
#pragma once

#include <ko/image.h>

namespace ko {

/// Asked for by callers of `Stretch`, which filters the same way whatever the value.
enum Interpolation : std::int32_t {
    InterpolationNearest = 0,  ///< no other picture than linear
    InterpolationLinear = 1,   ///< tent filter
};

/// Resamples an image to the size of the destination: along the rows first, then across them.
///
/// With scale = src size / dst size, output p of a pass is centred at c = (p + 0.5) * scale. Enlarging
/// (scale < 1) interpolates between inputs floor(c) - 1 and floor(c) with the fraction of c on the second
/// one: the picture moves by half an input pixel. Otherwise trunc(scale + 2) inputs are weighted by a tent;
/// equal sizes are therefore blurred a little (0.2, 0.6, 0.2). Weights are whole numbers of 1/65536 that sum
/// to 65536, inputs beyond an edge repeat the outermost one, and each of the two passes truncates its
/// results.
///
/// Source and destination must not overlap.
///
/// @param src  `UInt8` or `UInt16`; not empty; its samples are taken as interleaved whatever its packing says
/// @param dst  prepared with src's sample type and channels, interleaved, and not empty; neither type,
///             channels nor bits are looked at
/// @param interpolation  any value; has no effect
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent or empty
///   ResultBadArg2  dst absent or empty
///   1              src has another sample type: dst stays as it was
///   ResultBadArg1  rows of src are longer than its stride
///   ResultBadArg2  rows of src's samples do not fit into dst's memory
///   ResultFailed   no memory for the rows between the passes, or src has no channels
///   1              done (a success: see `isFailure`)
/// On failure dst is untouched. Runs on the calling thread. O(src width * height + dst width * height); exact
/// doubling and halving are several times faster than other ratios.
KO_EXPORT ResultCode Stretch(const SxImageBuf& src, SxImageBuf& dst, Interpolation interpolation);

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
///                this call. A buffer made for another radius serves as well while its counters and strips
///                are large enough.
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          dst absent or unlike src
///   ResultBadArg3          radius negative, or the window wider or higher than the image
///   ResultUnsupportedType  src not interleaved, of another type or depth, or without channels
///   ResultIncompatible     buffer made for another size or format, or too small for the radius
///   ResultUnsupportedType  buffer with counters of unknown width
///   ResultFailed           no buffer given and none could be made, which goes for 4 channels
///   ResultOk               2 channels, or more than 4: nothing is filtered, dst is untouched
///   ResultBadArg1          rows of src are longer than its stride
///   ResultBadArg2          rows of dst are longer than its stride
///   ResultFailed           out of memory, or radius above 32767
/// On failure dst is untouched. Strips, or bands of rows up to radius 3, run in parallel (dynamic).
/// O(height * width), times radius up to 7.
/// @source A. Adams, "Fast median filters using separable sorting networks", SIGGRAPH 2021: radius 1 to 3
/// @source L. Sugy, "A fast parallel median filtering algorithm using hierarchical tiling", 2025: 4 to 7
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

/// Computes the gradient magnitude with the two 3 x 3 Sobel kernels (1 2 1 across -1 0 1):
/// trunc(sqrt(gx^2 + gy^2)), with exact gx and gy.
///
/// The outermost rows and columns of dst are not written, they keep what they held. Source and destination
/// must not overlap.
///
/// @param src  mono `UInt8` or `UInt16`
/// @param dst  mono `Int32` of src's size
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, or of another type
///   ResultBadArg2  dst absent, not mono, not `Int32`, or of another size
/// On failure dst is untouched. Rows run in parallel (dynamic). O(height * width).
/// @source I. Sobel, G. Feldman, "A 3x3 isotropic gradient operator for image processing", 1968
KO_EXPORT ResultCode Sobel(const SxImageBuf& src, SxImageBuf& dst);

/// Chamfer masks: the steps that a path may take and what each costs, in units of the first entry's weight.
enum ExChamferMask : std::int32_t {
    ChamferChessboard = 0,  ///< straight 1, diagonal 1
    Chamfer3x3 = 1,         ///< 3, 4
    Chamfer5x5 = 2,         ///< 5, 7, knight's move 11
    Chamfer7x7 = 3,         ///< 14, 20, 31, (3, 1) 44
    Chamfer13x13 = 4,       ///< 68, 96, 152, and six longer steps up to (6, 1) 413
};

/// Computes the distance of every pixel to the nearest non-zero pixel, along steps of a chamfer mask.
///
/// The distance is the least sum of step weights in the two-pass sense, divided by the weight of a straight
/// step. In an image without any non-zero pixel every distance is -1 / that weight. Source and destination
/// must not overlap.
///
/// @param src   mono `UInt8`; every non-zero value counts alike
/// @param dst   mono `Float64` of src's size; receives distances in pixels
/// @param mask  the larger the mask, the nearer to the Euclidean distance
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, or not `UInt8`
///   ResultBadArg2  dst absent, not mono, not `Float64`, or of another size
///   ResultBadArg3  mask unknown
///   ResultFailed   no memory for a few rows of scratch
/// On failure dst is untouched. Runs on the calling thread: each row needs the one before.
/// O(height * width * entries of the mask).
/// @source G. Borgefors, "Distance transformations in digital images", CVGIP 34, 1986
KO_EXPORT ResultCode ChamferDistance(const SxImageBuf& src, SxImageBuf& dst, ExChamferMask mask);

}  // namespace ko
