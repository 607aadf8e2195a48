// Diagrams in pixels, drawn by librsvg. Letters are those of the system's fonts.
#pragma once

#include "io/image.h"

#include <string>

namespace ko::tool {

/// A picture of three channels of 8 bits. Throws where memory is lacking.
Image rasterise(const std::string& svg, int width, int height);

}  // namespace ko::tool
