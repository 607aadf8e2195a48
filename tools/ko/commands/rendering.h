// From the colours of a camera to those of a screen.
#pragma once

#include "io/image.h"
#include "io/sensor.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ko::tool {

/// How levels follow light.
enum Curve { SrgbCurve, LinearCurve };

struct Rendering {
    std::optional<ColourMatrix> matrix;  ///< to linear sRGB; none leaves colours as they are
    double gain = 1;                     ///< of the exposure
    Curve curve = SrgbCurve;
    int bits = 8;  ///< of the result: 8 or 16
};

/// The share of white in a picture for a share of the light of white.
double encoded(double light, Curve curve);

/// Gives linear samples of 16 bits the levels of the curve. What is then interpolated between neighbours lies
/// between them as people see it; in proportion to light, bright neighbours outweigh dark ones.
void encode(Image& samples, Curve curve);

/// Multiplies the light of samples of 16 bits that have the levels of a curve.
class Brightener {
public:
    explicit Brightener(Curve curve);

    /// White stays white: where the sensor has clipped, no colour may become less than the others.
    std::uint16_t operator()(std::uint16_t sample, float gain) const;

private:
    std::vector<float> m_light;
    std::vector<float> m_levels;
};

/// The gain that makes the brightest colour of all pixels but `percent` white; at least 1. The colours are
/// those of `rendered`.
double automaticGain(const Image& colours, const Rendering& rendering, double percent);

/// The picture of colours of 16 bits in the levels of the curve. What the matrix makes negative becomes 0; a colour
/// that becomes brighter than white is limited to it and keeps its hue.
Image rendered(const Image& colours, const Rendering& rendering);

}  // namespace ko::tool
