// Pixel-wise operators: thresholding, logic with a constant, clamping to the colour depth.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
