// From the linear colours of a camera to those of a screen.
#pragma once

#include "io/image.h"
#include "io/sensor.h"

#include <optional>

namespace ko::tool {

enum Curve { SrgbCurve, LinearCurve };

struct Rendering {
    std::optional<ColourMatrix> matrix;  ///< to linear sRGB; none leaves colours as they are
    double gain = 1;                     ///< of the exposure
    Curve curve = SrgbCurve;
    int bits = 8;  ///< of the result: 8 or 16
};

/// The gain that makes the brightest colour of all pixels but `percent` white; at least 1.
double automaticGain(const Image& colours, const std::optional<ColourMatrix>& matrix, double percent);

/// The picture of linear colours of 16 bits. What the matrix makes negative becomes 0, what becomes brighter
/// than white is limited to it.
Image rendered(const Image& colours, const Rendering& rendering);

}  // namespace ko::tool
