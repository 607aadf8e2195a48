// Where a point of the contour goes.
#pragma once

#include "snake/contour.h"

namespace ko {

/// Asks for the pixels around a point. Every step takes a point to lines that no step has touched.
void fetchAround(const ContourField& field, ContourPoint point);

/// The one of a point's nine neighbouring positions that has the least energy; the first of equal ones in raster order.
ContourPoint bestPosition(ContourPoint previous, ContourPoint current, ContourPoint next, double meanGap,
                          const SxSnakeParams& params, const ContourField& field);

}  // namespace ko
