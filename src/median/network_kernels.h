// Row kernels of the median of small windows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Medians of `samples` windows that follow each other in a row: window i holds the samples i, i + step, ...
/// i + 2 * radius * step of each of the 2 * radius + 1 rows. Results above `most` become `most`. `scratch`
/// has `medianRowScratch` bytes, from a whole cache line on.
using MedianRow = void (*)(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples,
                           std::int64_t step, std::uint32_t most, std::byte* scratch) noexcept;

inline constexpr std::size_t medianRowScratch = std::size_t{16} * 1024;

/// Largest step.
inline constexpr std::int64_t medianRowChannels = 4;

struct MedianRowKernels {
    std::array<MedianRow, 3> u8;  ///< by radius
    std::array<MedianRow, 3> u16;
};

/// The kernels of the running processor.
const MedianRowKernels& medianRowKernels();

}  // namespace ko
