// Row kernels of sums of floats under a mask.
#pragma once

#include <cstdint>

namespace ko {

/// What is known about the selected floats of a row. Magnitudes are their bits without the sign.
struct FloatSum {
    double sum = 0.0;  ///< in any order
    std::uint64_t count = 0;
    std::uint32_t highest = 0;   ///< magnitude
    std::uint32_t lowest = ~0U;  ///< magnitude other than 0, less 1; all bits set where there is none
};

/// Floats count whose mask byte is not zero.
using SumFloats = FloatSum (*)(const std::uint8_t* row, const std::uint8_t* mask,
                               std::int64_t width) noexcept;

/// The kernel of the running processor.
SumFloats sumFloats();

}  // namespace ko
