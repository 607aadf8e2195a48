// Row kernels of WhiteBalance.
#pragma once

#include "base/kernel_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

/// The numbers of four bytes in a row, whose colours take turns in one, two or four samples: the number of the
/// first byte is in the lowest bits. Lanes of words hold two bytes, so there are gains for the even ones of the
/// four and for the odd ones. Rows of bytes are so fast that these are made once for all of them.
struct FourBytes {
    struct Gains {
        std::uint32_t upper;  ///< two words in 1/256
        std::uint32_t lower;  ///< what these leave, in 1/65536, moved to the upper byte
    };

    std::uint32_t black;
    std::uint32_t last;  ///< the most light that leaves a sample below `top`
    std::array<Gains, 2> gains;
};

/// The black level and the gain of each sample of a row, whose colours take turns. The arrays hold a period
/// of colours (1, 2, 3 or 4) again and again, so that a vector may start at any place of the first period.
struct BalancePattern {
    static constexpr std::size_t longestVector = 32;
    using Values = std::array<std::uint16_t, longestVector + 4>;

    alignas(64) Values black;
    Values whole;     ///< of the gain
    Values fraction;  ///< of the gain, in 1/65536
    FourBytes bytes;
    /// What the even bytes of a row become and what the odd ones do, for kernels that look bytes up.
    std::array<std::array<std::uint8_t, 256>, 2> results;
    int period;
    std::uint16_t top;  ///< largest result
};

/// One row of `samples` samples; dst may be src.
using BalanceRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                            const BalancePattern& pattern) noexcept;

struct BalanceKernels {
    PerDepth<BalanceRow> rows;
    /// Fills in what the row function of bytes needs beside the numbers. Once for all rows.
    void (*prepareBytes)(BalancePattern& pattern) noexcept;
};

/// The kernels of the running processor.
const BalanceKernels& balanceKernels();

}  // namespace ko
