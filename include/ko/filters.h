// Geometry and neighbourhood filters: resampling, median, gradient, distance.
#pragma once

#include <ko/image.h>

namespace ko {

/// Asked for by callers of `Stretch`, which filters the same way whatever the value.
enum Interpolation : std::int32_t { InterpolationNearest = 0, InterpolationLinear = 1 };

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

}  // namespace ko
