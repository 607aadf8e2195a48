// Active contour.
#pragma once

#include <ko/image.h>

#include <QList>

namespace ko {

/// A point of the plane; a contour's points are pixel positions.
template <typename T>
struct _point_ {
    T x;  ///< column
    T y;  ///< row
};

/// What pulls at a contour. The four terms of a step are scaled to each other before they are weighted, so
/// weights of the order of 1 are comparable; a term of weight 0 is switched off. The values given here are a
/// good start for dark-on-bright or bright-on-dark objects of some tens of pixels.
struct SxSnakeParams {
    /// Gradients above this fraction (0...1) of the image's largest count as edges. Lower it when the contour
    /// passes through weak edges, raise it when noise holds it.
    double edgeFraction = 0.2;
    /// Keeps the points evenly spaced; large values shrink the contour.
    double weightContinuity = 0.5;
    /// Keeps the contour smooth; large values round off corners.
    double weightCurvature = 0.5;
    /// Pulls towards the nearest edge; the only term that acts from afar.
    double weightDistance = 2.0;
    /// Holds points on strong edges.
    double weightGradient = 1.0;
    /// Not 0: remove loops and insert points on the way, and space the points evenly at the end.
    std::int32_t refine = 1;
    /// Loops are removed and points inserted before every refineInterval-th step; below 1 counts as 1.
    std::int32_t refineInterval = 5;
    /// Points of the contour that come this close (pixels) close a loop, which is cut off. Keep it below the
    /// spacing of the points, or neighbours are merged; negative removes nothing.
    std::int32_t loopDistance = 2;
    /// Largest gap between neighbours, and their distance at the end (pixels); below 1 leaves gaps and the
    /// final spacing alone.
    std::int32_t pointSpacing = 5;
    /// The contour makes at most maxIterations + 1 steps, and at least one.
    std::int32_t maxIterations = 200;
};

/// Moves a closed contour towards the edges of an image by a greedy active contour.
///
/// In every step each point moves to that one of its nine neighbouring positions (itself included) where the
/// weighted sum of continuity, curvature, distance to the nearest edge and gradient is least; the first of
/// equal ones in raster order. All points move at once, and never leave 1...width - 2, 1...height - 2; points
/// given on or outside that band are moved into it first. The contour rests when no point moves.
///
/// Edges are the pixels whose Sobel magnitude exceeds `edgeFraction` of the largest one; distances to them
/// are those of `ChamferDistance` with `Chamfer5x5`. Even spacing at the end follows a uniform cubic
/// B-spline. Insertion of points ends at 65,536 points or one per pixel, whichever is more.
///
/// @param src     mono `UInt8` or `UInt16`, 3 x 3 or more
/// @param params  see there
/// @param input   points in the order of the contour, one or more; the last is connected to the first
/// @param output  receives the contour; may be `input` itself
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, not mono, of another type, or smaller than 3 x 3
///   ResultBadArg2  edgeFraction or a weight not finite
///   ResultBadArg3  input empty
///   ResultFailed   no memory
/// On failure output is untouched. The images are prepared as `Sobel` and the thresholds are (rows in
/// parallel), the contour moves on the calling thread. O(height * width + steps * points; points^2 where
/// loops are removed).
/// @source D. J. Williams, M. Shah, "A fast algorithm for active contours and curvature estimation", CVGIP
/// 55, 1992
KO_EXPORT ResultCode SnakeImage(const SxImageBuf& src, const SxSnakeParams& params,
                                const QList<_point_<int>>& input, QList<_point_<int>>& output);

}  // namespace ko
