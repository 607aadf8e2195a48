// The median by searching, for any radius from 1 and any depth.
//
// A strip is worked through in blocks small enough for the cache. All pixels of a block search their median
// at once, by halving: the samples below a value are counted in every window of the block, and each pixel
// that the value could still separate goes up or stays. Values that separate no pixel are never counted for,
// so the effort follows the number of different medians in a block, which neighbouring windows keep small.
// The radius costs little, since the counts of a window's rows are sums of sums.
//
// Deeper samples are first sorted within the block; neighbours in that order share a one-byte code, the
// search is for the code, and the sample is then picked among the code's few.
#pragma once

#include "median/plan.h"

namespace ko {

/// The samples of larger windows cannot be counted in 32 bits.
inline constexpr std::int64_t largestSearchRadius = 32767;

/// Bytes of scratch memory that any of the strips needs.
std::size_t searchScratchBytes(const std::vector<MedianStrip>& strips, ExImageDataType type,
                               std::int64_t radius) noexcept;

/// Writes the medians of a strip.
void searchMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                   std::byte* scratch) noexcept;

}  // namespace ko
