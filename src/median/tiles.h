// The median of windows of middle size by sorting what they share.
#pragma once

#include "median/patches.h"
#include "median/plan.h"

namespace ko {

/// There are networks for samples of this type and radius that are the fastest way on this processor.
bool hasTileMedians(ExImageDataType type, std::int64_t radius) noexcept;

/// Bytes of scratch memory that a thread needs for such an image.
std::size_t tileScratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept;

/// Writes the medians of the patches that are left, for a radius that there are networks for. `scratch` has a part
/// for each thread.
void tileMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch,
                 const MedianPatches& patches);

}  // namespace ko
