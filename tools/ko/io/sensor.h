// What a camera says of the samples of its raws.
#pragma once

#include <array>
#include <optional>

namespace ko::tool {

/// The numbers of red, green and blue.
using Colour = std::array<double, 3>;

/// The rows make red, green and blue.
using ColourMatrix = std::array<Colour, 3>;

constexpr ColourMatrix noMatrix{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};  ///< leaves colours as they are

/// Of samples whose black has been subtracted.
struct Sensor {
    int white = 0;                            ///< where the sensor clips, of the colour that does so first
    std::optional<Colour> gains = {};         ///< the white balance of the camera
    std::optional<ColourMatrix> matrix = {};  ///< from balanced colours to linear sRGB, white to white
};

}  // namespace ko::tool
