// The median of small windows by sorting networks.
#pragma once

#include "median/plan.h"

namespace ko {

/// Largest radius that there are networks for.
inline constexpr std::int64_t largestNetworkRadius = 2;

/// Bytes of scratch memory that a thread needs.
std::size_t networkScratchBytes() noexcept;

/// Writes the medians for a radius of 0 ... `largestNetworkRadius`. Each thread takes one band at a time.
/// `scratch` has a part for each thread.
void sortMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch);

}  // namespace ko
