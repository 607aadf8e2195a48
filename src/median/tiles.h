// The median of windows of middle size by sorting what they share.
#pragma once

#include "median/plan.h"

namespace ko {

/// There are networks for samples of this type and radius that are the fastest way on this processor.
bool hasTileMedians(ExImageDataType type, std::int64_t radius) noexcept;

/// Bytes of scratch memory that a strip of such an image needs.
std::size_t tileScratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept;

/// Writes the medians of a strip for a radius that there are networks for.
void tileMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                 std::byte* scratch) noexcept;

}  // namespace ko
