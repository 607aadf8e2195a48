// The median by histograms of columns, for any radius and any depth.
//
// While the windows of a strip move down, every column keeps a histogram of its samples in the rows of the
// windows: a row that comes or goes changes each by one sample. The histogram of a window is the sum of its
// columns', and moves along the row by adding one column and taking another one out. So the radius costs
// nothing but what is read around a block.
//
// A histogram has two tiers, for the high and the low digit of a code (column_kernels.h). Along a row, only the
// part of the second one is kept up to date that belongs to the high digit of the median, and how many samples
// have smaller digits. The first one tells where to go on when the median leaves that digit.
//
// Nothing overflows. Up to radius 63, a column has at most 127 samples in a window: differences of two counts
// fit into signed bytes, and 127 * 127 samples into signed words. Beyond, up to radius 32767, it has at most
// 65535, and a window 65535 * 65535, which fit into unsigned numbers of 16 and 32 bits.
//
// The part of a window that is outside the image is not counted, so the rank of the median differs there.
#pragma once

#include "median/patches.h"
#include "median/plan.h"

namespace ko {

/// The samples of larger windows cannot be counted in 32 bits.
inline constexpr std::int64_t largestColumnRadius = 32767;

/// Bytes of scratch memory that any of the strips needs.
std::size_t columnScratchBytes(const std::vector<MedianStrip>& strips, ExImageDataType type,
                               std::int64_t radius) noexcept;

/// Writes the medians of the patches of a strip that are left.
void columnMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                   std::byte* scratch, const MedianPatches& patches) noexcept;

}  // namespace ko
