// The median of small windows by sorting networks.
#pragma once

#include <ko/image.h>

#include <cstdint>

namespace ko {

/// Largest radius that there are networks for.
inline constexpr std::int64_t largestNetworkRadius = 3;

/// Writes the medians for a radius of 0 ... `largestNetworkRadius`, a band of rows per thread and time.
void sortMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius);

}  // namespace ko
