// Geometry and neighbourhood filters: resampling, median, gradient, distance.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
