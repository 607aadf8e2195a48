// What a DNG file asks to be done to the samples of its sensor.
#pragma once

#include "io/orientation.h"

#include <QPoint>
#include <QSize>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace ko::tool {

/// Gains between which samples are multiplied by what lies between: those of a lens that is darker in its corners.
struct GainMap {
    std::array<std::uint32_t, 4> area;     ///< top, left, bottom, right of what is multiplied
    std::uint32_t plane;                   ///< the first that is multiplied
    std::uint32_t planes;                  ///< how many are
    std::array<std::uint32_t, 2> pitches;  ///< one of so many rows and columns is multiplied
    std::array<std::uint32_t, 2> points;   ///< rows and columns of the map
    std::uint32_t channels;                ///< of the map; the last one is also for further planes
    std::array<double, 2> spacing;  ///< from a row and column of the map to the next, as shares of the whole
    std::array<double, 2> origin;   ///< where the first ones lie
    std::vector<float> gains;

    float gain(std::size_t row, std::size_t column, std::size_t channel) const
    {
        return gains[(row * points[1] + column) * channels + channel];
    }
};

/// A gain that depends on how far from the middle of a lens a place lies, the farthest corner being 1: a polynomial whose
/// factors are those of the square of the distance and its powers.
struct RadialGain {
    std::array<double, 2> centre;  ///< x and y as shares of the whole
    std::array<double, 5> factors;

    double at(double square) const
    {
        double gain = 0;
        for (auto factor = factors.rbegin(); factor != factors.rend(); ++factor)
            gain = (gain + *factor) * square;
        return 1 + gain;
    }
};

/// Straightens what a lens has bent, and lays the colours over each other that it has parted. Tells from where the light
/// of a place comes; places are counted from a centre, the farthest corner being 1 away.
struct Warp {
    /// Four factors of the distance: of its first power and the odd ones above. Two of a lens that is not in line.
    using Factors = std::array<double, 6>;

    std::array<double, 2> centre;  ///< x and y as shares of the whole
    std::vector<Factors> planes;   ///< one for all or those of each

    std::array<double, 2> from(double x, double y, std::size_t plane) const
    {
        const Factors& k = planes[plane];
        const double square = x * x + y * y;
        const double radial = k[0] + square * (k[1] + square * (k[2] + square * k[3]));
        return {x * radial + 2 * k[4] * x * y + k[5] * (square + 2 * x * x),
                y * radial + 2 * k[5] * x * y + k[4] * (square + 2 * y * y)};
    }
};

using Correction = std::variant<GainMap, RadialGain, Warp>;

/// Those of a file, by the state of the samples that they are for.
struct Corrections {
    QSize size;                       ///< of the whole that places are counted in
    QPoint corner;                    ///< where the picture as it is stored begins in it
    int orientation = Upright;        ///< what the picture has been turned from since
    std::vector<QPoint> faulty;       ///< pixels of the picture as it is stored, each of them once
    std::vector<Correction> linear;   ///< for linear samples
    std::vector<Correction> colours;  ///< for demosaiced ones
    std::string file;                 ///< its name
    // Names, each of them once.
    std::vector<std::string> applied;
    std::vector<std::string> left;     ///< out, as unknown here
    std::vector<std::string> missed;   ///< those of them that no program should leave out, says the file
    std::vector<std::string> damaged;  ///< lists of which nothing is applied
};

}  // namespace ko::tool
