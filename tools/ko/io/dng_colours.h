// The colours of a camera under the light of its picture, as DNG files tell them.
#pragma once

#include "io/sensor.h"

#include <libraw/libraw.h>

#include <array>
#include <optional>

namespace ko::tool {

/// What was measured of a camera under one or two lights. Under any other light its colours lie between those of
/// the two, in proportion to the inverse of the correlated colour temperature, and beyond them are those of the
/// nearer one.
class DngColours {
public:
    /// None where the file is no DNG file of three colours or tells no matrix. What is told of this camera rather
    /// than of its model counts if wanted.
    static std::optional<DngColours> of(const libraw_data_t& raw, bool withCalibration);

    /// The gains that make gray the light of this place in the chromaticity diagram of 1931; none for a place that
    /// is no light.
    std::optional<Colour> gainsOf(double x, double y) const;

    /// From colours that these gains have balanced to linear sRGB, white to white, under the light that the gains
    /// make gray; none where they tell no light or the file makes no sense.
    std::optional<ColourMatrix> matrixFor(const Colour& gains) const;

private:
    struct Light {
        double coldness;       ///< 10^6 / temperature in Kelvin; 0 for one that is not known
        ColourMatrix colours;  ///< from XYZ to the model of the camera
        ColourMatrix camera;   ///< from the model to this camera
        std::optional<ColourMatrix>
            forward;  ///< from balanced colours of the model to XYZ whose white is D50
    };

    static std::optional<Light> lightOf(const libraw_dng_color_t& told, bool withCalibration);
    double shareAt(double coldness) const;
    Light at(double share) const;
    ColourMatrix fromModel(const Light& light) const;
    ColourMatrix fromXyz(const Light& light) const;

    std::array<Light, 2> m_lights;  ///< the same twice where there is one
    Colour m_analog{1, 1, 1};       ///< gains that the samples have got already
};

}  // namespace ko::tool
