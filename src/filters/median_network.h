// The median of small windows by sorting networks.
#pragma once

#include "filters/median_plan.h"

namespace ko {

/// Largest radius that there are networks for.
inline constexpr std::int64_t largestNetworkRadius = 3;

/// Writes the medians of a strip for a radius of 0 ... `largestNetworkRadius`.
void sortMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianTile& tile,
                 std::int64_t radius) noexcept;

}  // namespace ko
