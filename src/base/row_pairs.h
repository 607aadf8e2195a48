// Rows of two images that a row function works on together.
#pragma once

#include "base/kernel_loops.h"

#include <atomic>
#include <cstdint>

namespace ko {

/// `rows` rows of `samples` samples each; the pitches are bytes from row to row. src and dst may be the same memory.
///
/// Row functions take it by reference. Compilers copy it in wider pieces than it was written in, and the processor
/// reads those only when every store before them has reached the cache: a tenth of the time of loops at the speed of
/// memory.
struct RowPairs {
    const std::uint8_t* src;
    std::int64_t srcPitch;
    std::uint8_t* dst;
    std::int64_t dstPitch;
    std::int64_t rows;
    std::int64_t samples;

    const std::uint8_t* srcRow(std::int64_t y) const noexcept { return src + y * srcPitch; }
    std::uint8_t* dstRow(std::int64_t y) const noexcept { return dst + y * dstPitch; }

    /// Whether to ask for the rows ahead. Small images are in the caches, and the loop without is faster there.
    bool isWorthFetching() const noexcept
    {
        constexpr std::int64_t inCaches = std::int64_t{1} << 18;
        return rows * samples > inCaches && fetchingPays.load(std::memory_order_relaxed);
    }
};

}  // namespace ko
