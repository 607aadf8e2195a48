// Row kernels of the median of small windows.
#pragma once

#include <array>
#include <cstdint>

namespace ko {

/// Medians of `samples` windows that follow each other in a row: window i holds the samples i, i + step, ...
/// i + 2 * radius * step of each of the 2 * radius + 1 rows. Results above `most` become `most`.
using MedianRow = void (*)(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples,
                           std::int64_t step, std::uint32_t most) noexcept;

/// Largest step.
inline constexpr std::int64_t medianRowChannels = 4;

struct MedianRowKernels {
    std::array<MedianRow, 4> u8;  ///< by radius
    std::array<MedianRow, 4> u16;
};

/// The kernels of the running processor.
const MedianRowKernels& medianRowKernels();

}  // namespace ko
