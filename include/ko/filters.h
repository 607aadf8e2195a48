// Geometry and neighbourhood filters: resampling, gradient, distance.
#pragma once

#include <ko/image.h>

namespace ko {

/// Asked for by callers of `Stretch`, which filters the same way whatever the value.
enum Interpolation : std::int32_t {
    InterpolationNearest = 0,  ///< gives the same picture as linear
    InterpolationLinear = 1,   ///< tent filter
};

/// Resamples an image to the size of the destination: along the rows first, then across them.
///
/// With scale = src size / dst size, output p of a pass is centred at c = (p + 0.5) * scale. Enlarging
/// (scale < 1) interpolates between inputs floor(c) - 1 and floor(c) with the fraction of c on the second
/// one: the picture moves by half an input pixel. Otherwise trunc(scale + 2) inputs are weighted by a tent;
/// equal sizes are therefore blurred a little (0.2, 0.6, 0.2). Weights are whole numbers of 1/65536 that sum
/// to 65536, inputs beyond an edge repeat the outermost one, and each of the two passes truncates its
/// results, which makes the picture up to one level darker.
///
/// Reducing moves the picture too, by an amount that changes from output to output with the fraction f of c:
/// towards the end of the row by 2f - 0.5 input pixels where an even number of inputs is weighted, by 2f
/// (f < 0.5) or 2f - 1 where it is odd, there within 0.03 pixels. That is half a pixel on average for ratios
/// that are not whole, half a pixel back for even ratios such as halving, and nothing for odd ones. `Resize`
/// moves nothing.
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
/// On failure dst is untouched. Runs on the calling thread, on several within `CallThreads`. O(src size + dst
/// size); exact doubling and halving are several times faster than other ratios.
KO_EXPORT ResultCode Stretch(const SxImageBuf& src, SxImageBuf& dst, Interpolation interpolation);

/// Resamples an image to the size of the destination, without moving it.
///
/// Along an axis that becomes shorter, a sample is the mean of what it covers of the image, parts of samples
/// counted as parts, so that nothing is lost and nothing flickers. Along one that becomes longer, or keeps its
/// length, it is interpolated linearly between the two samples whose centres are nearest; beyond the edges the
/// outermost ones are repeated. Centres of pixels lie at halves: that of result p is at (p + 0.5) * src size /
/// dst size - 0.5 of src. The two axes are independent of each other. Results are exact, rounded to the
/// nearest whole number (halves up).
///
/// Source and destination must not overlap.
///
/// @param src  `UInt8` or `UInt16`, `Interleaved`, any channels, not a mosaic; not empty
/// @param dst  src's sample type, depth, channels and packing, not a mosaic; any size, also without pixels. The
///             larger of src.width and 2 * dst.width times the larger of src.height and 2 * dst.height is at
///             most 2^34: up to there whole numbers stay exact.
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, empty, not interleaved, or a mosaic
///   ResultBadArg2          dst absent, not interleaved, a mosaic, or of another type, depth or channels
///   ResultBadArg2          the sizes are beyond the limit
///   ResultUnsupportedType  src neither `UInt8` nor `UInt16`
///   ResultBadArg1, 2       rows of src or dst longer than their stride
///   ResultFailed           no memory for rows of sums
/// On failure dst is untouched. Bands of rows run in parallel. O(src size + dst size).
KO_EXPORT ResultCode Resize(const SxImageBuf& src, SxImageBuf& dst);

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
