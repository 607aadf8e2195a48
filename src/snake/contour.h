// The contour of the active contour: steps over an energy image, and its upkeep.
#pragma once

#include <ko/snake.h>

#include <cstdint>
#include <vector>

namespace ko {

using ContourPoint = _point_<int>;
using Contour = std::vector<ContourPoint>;

/// Mono images of one size, at least 3 x 3.
struct ContourField {
    const SxImageBuf& gradient;  ///< `Int32`
    const SxImageBuf& distance;  ///< to the nearest edge in pixels, `Float64`
};

/// Moves a position into the band that keeps all its neighbours inside the image.
ContourPoint intoBand(ContourPoint point, const SxImageInfo& image);

/// Moves every point once; all points must lie in the band. Says whether any moved.
bool stepContour(Contour& contour, const SxSnakeParams& params, const ContourField& field);

/// Cuts off what lies between two points that come as close as `distance`, at most half the contour at a
/// time.
void removeLoops(Contour& contour, std::int64_t distance);

/// Puts points into gaps that are wider than `spacing`, until the contour has `mostPoints`.
void insertPoints(Contour& contour, std::int64_t spacing, std::size_t mostPoints);

/// Replaces the points by points at even distances of about `spacing` along the contour.
void resampleContour(Contour& contour, std::int64_t spacing);

/// Steps and upkeep until the contour rests.
void iterateContour(Contour& contour, const SxSnakeParams& params, const ContourField& field);

}  // namespace ko
