// Row kernels of WhiteBalance.
#pragma once

#include "base/kernel_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

/// The black level and the gain of each sample of a row, whose colours take turns. The arrays hold a period
/// of colours (1, 2, 3 or 4) again and again, so that a vector may start at any place of the first period.
struct BalancePattern {
    static constexpr std::size_t longestVector = 32;
    using Values = std::array<std::uint16_t, longestVector + 4>;

    alignas(64) Values black;
    Values whole;     ///< of the gain
    Values fraction;  ///< of the gain, in 1/65536
    /// The most light that leaves a sample of one byte below `top`, of the first four.
    std::array<std::uint8_t, 4> lastBelowTop;
    int period;
    std::uint16_t top;  ///< largest result
};

/// One row of `samples` samples; dst may be src.
using BalanceRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                            const BalancePattern& pattern) noexcept;

using BalanceKernels = PerDepth<BalanceRow>;

/// The kernels of the running processor.
const BalanceKernels& balanceKernels();

}  // namespace ko
