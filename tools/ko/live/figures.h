// Figures of a frame, from the levels of the sensor.
#pragma once

#include "io/image.h"

#include <array>
#include <cstdint>

namespace ko::tool {

/// Of one colour.
struct ColourFigures {
    static constexpr int bins = 256;
    std::array<std::uint64_t, bins> histogram{};  ///< samples by the upper 8 bits of their level
    std::uint64_t samples = 0;
    std::uint64_t clipped = 0;  ///< at the greatest level
    std::uint64_t sum = 0;      ///< of the samples that are not clipped
};

struct Figures {
    SxImageInfo format;
    int colours = 1;  ///< 3: red, green and blue
    std::array<ColourFigures, 3> of{};
    double focus = 0;  ///< as `focusOf` has it
};

/// Counts all samples.
Figures figuresOf(const SxImageBuf& frame);

/// The gains that make the mean of the samples gray that are not clipped; green keeps its own.
std::array<double, 3> grayWorldGains(const Figures& figures);

}  // namespace ko::tool
