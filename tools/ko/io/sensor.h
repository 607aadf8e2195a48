// What a camera says of the samples of its raws.
#pragma once

#include <QRect>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>

namespace ko::tool {

struct Corrections;

/// The numbers of red, green and blue.
using Colour = std::array<double, 3>;

/// White balance: the factors of red, green in the rows of red, blue, and green in the rows of blue. A sensor may see
/// the two greens differently, which shows as a grid in even areas if nothing balances them.
using Gains = std::array<double, 4>;

/// Those of the three colours.
inline Colour mergedGreens(const Gains& gains)
{
    return {gains[0], (gains[1] + gains[3]) / 2, gains[2]};
}

/// The rows make red, green and blue.
using ColourMatrix = std::array<Colour, 3>;

constexpr ColourMatrix noMatrix{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};  ///< leaves colours as they are

/// True for one that leaves white alone and has no numbers that only damaged files have.
inline bool isSound(const ColourMatrix& matrix)
{
    return std::ranges::all_of(matrix, [](const Colour& row) {
        return std::abs(row[0]) + std::abs(row[1]) + std::abs(row[2]) < 1000 &&
               std::abs(row[0] + row[1] + row[2] - 1) < 0.01;
    });
}

/// Of samples whose black has been subtracted.
struct Sensor {
    int white = 0;                    ///< where the sensor clips, of the colour that does so first
    QSize size = {};                  ///< of the whole picture
    QRect crop = {};                  ///< what the camera's own pictures show of it; null for all
    bool isMonochrome = false;        ///< sees no colours: what follows is not there
    bool hasAllColours = false;       ///< of every pixel: its raws are no mosaics
    std::optional<Gains> gains = {};  ///< the white balance of the camera
    /// From colours that these gains have balanced to linear sRGB, white to white; none where it is not known.
    std::function<std::optional<ColourMatrix>(const Colour& gains)> matrix = {};
    std::shared_ptr<const Corrections> corrections = {};  ///< that the file asks for; null for none
};

}  // namespace ko::tool
