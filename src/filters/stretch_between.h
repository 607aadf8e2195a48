// The horizontal pass of Stretch where each result lies between two samples, arranged for vectors.
#pragma once

#include "filters/stretch_table.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ko {

/// Results that one vector makes, from a vector of samples.
struct StretchBetweenGroup {
    static constexpr std::size_t mostLanes = 32;

    alignas(64) std::int16_t nearer[mostLanes];  ///< counted from sample `from`
    alignas(64) std::int16_t farther[mostLanes];
    alignas(64) std::int16_t minusShares[mostLanes];
    std::int64_t from;
    std::int64_t to;  ///< first result
};

struct StretchBetween {
    std::vector<StretchBetweenGroup> groups;
};

/// Arranges a pass over rows of `inputs` pixels of `channels` samples for vectors of `lanes` samples; nothing where
/// results are made of more than two samples, the row or a vector holds too few, or vectors would make less than half of
/// what they hold.
std::optional<StretchBetween> arrangeBetween(const StretchTable& table, std::int64_t inputs,
                                             std::int64_t channels, std::int64_t lanes);

}  // namespace ko
