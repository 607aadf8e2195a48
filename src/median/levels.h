// The median by thresholds, where a picture changes slowly.
//
// The median of a window is at least t where at least half of its samples are. For one threshold, all windows of a
// block are counted at once: the sums of their rows first, then those of their columns, which change by a row that
// comes and one that goes. That takes some 30 instructions for 64 pixels with bytes in vectors, whatever the radius.
// Thresholds go up from a guess until no median is above them, and down until none is below. Values that no sample
// has are left out, and so are the rows of the block at its top and bottom whose medians are known.
//
// So the time is that of the different medians in a block. Where these are many, as a few samples tell, patches are
// left to the other engines.
#pragma once

#include "median/patches.h"
#include "median/plan.h"

namespace ko {

/// There are kernels for samples of this type and radius, and the image is wide enough for a block.
bool hasLevelMedians(const SxImageInfo& image, std::int64_t radius) noexcept;

/// How far medians in a block may lie apart so that thresholds are faster than the other engine of the radius. Tiles
/// take about the square of the radius, and around a block, larger windows see more.
std::int64_t mostMedianLevels(std::int64_t radius) noexcept;

/// Rows of patches. Columns count the samples of a whole window first wherever they begin, so larger windows want
/// higher patches.
std::int64_t levelPatchRows(std::int64_t radius) noexcept;

/// Bytes of scratch memory that a thread needs for such an image.
std::size_t levelScratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept;

/// Writes the medians of patches with few levels and takes these. `scratch` has a part for each thread.
void levelMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch,
                  MedianPatches& patches);

}  // namespace ko
