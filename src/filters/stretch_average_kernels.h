// Row kernels of Stretch for exactly twice and exactly half the size, where every weight is a quarter.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One pass along a row of `pixels` source pixels. The result is complemented (every bit inverted), which is
/// how the passes across rows take it.
using StretchRowByTwo = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels,
                                 int channels) noexcept;

/// Two output rows between two complemented rows: 3/4 of the nearer and 1/4 of the other.
using StretchDoubledRows = void (*)(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* upper,
                                    std::uint8_t* lower, std::int64_t samples) noexcept;

/// One output row from three complemented rows: 1/4, 1/2, 1/4.
using StretchHalvedRow = void (*)(const std::uint8_t* above, const std::uint8_t* centre,
                                  const std::uint8_t* below, std::uint8_t* dst,
                                  std::int64_t samples) noexcept;

struct StretchAverageRows {
    StretchRowByTwo doubleRow;
    StretchRowByTwo halveRow;
    StretchDoubledRows doubledRows;
    StretchHalvedRow halvedRow;
};

using StretchAverageKernels = PerDepth<StretchAverageRows>;

/// Most channels that the kernels are built for.
inline constexpr int stretchAverageChannels = 4;

/// The kernels of the running processor.
const StretchAverageKernels& stretchAverageKernels();

}  // namespace ko
