// The pass of Resize along a row, arranged for vectors.
#pragma once

#include "filters/resize_axis.h"

#include <cstdint>
#include <vector>

namespace ko {

/// Results that one vector makes. Tap t of all of them lies in the vector that begins at sum `from` + t pixels.
struct ResizeGroup {
    static constexpr std::size_t mostLanes = 8;

    alignas(64) double weights[3][mostLanes];  ///< of the first tap, and of those behind the inner ones
    alignas(64) std::int64_t lanes[mostLanes];
    std::int64_t from;
    std::int64_t to;  ///< first result
};

struct ResizePlan {
    /// For rows of pixels of `channels` samples, and vectors of `lanes` doubles.
    ResizePlan(const ResizeAxis& axis, std::int64_t results, std::int64_t channels, std::size_t lanes);

    std::vector<ResizeGroup> groups;
    std::int64_t samples;  ///< of a row of results
    std::int64_t channels;
    std::int64_t innerCount;  ///< taps of weight `inner` behind the first one
    std::int64_t endCount;
    double inner;
};

}  // namespace ko
