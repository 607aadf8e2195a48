// Row kernels of Resize for bytes where no axis becomes shorter: two taps along each axis.
#pragma once

#include "filters/resize_kernels.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ko {

/// Samples of a row that one group may be made of.
inline constexpr std::int64_t longerWindow = 16;

/// Neighbouring results that one vector makes, at most 16.
struct ResizeLongerGroup {
    alignas(
        64) std::uint32_t taps[16];  ///< places of both taps in the window, in bytes 0 and 2; the others 0x80
    alignas(64) std::uint32_t weights[16];  ///< of both taps, in words 0 and 1
    std::int64_t from;                      ///< where the window begins
    std::int64_t to;                        ///< first result
};

struct ResizeLongerKernels {
    /// The weighted sums behind the results of some groups, the first group's first result at sums[0]. May write less than a
    /// vector behind them.
    void (*along)(const std::uint8_t* row, std::span<const ResizeLongerGroup> groups, float* sums) noexcept;
    /// Results from two rows of sums with `longerSlack` values behind each.
    using Across = void (*)(const float* first, const float* second, float firstWeight, float secondWeight,
                            const ResizeScale& scale, std::uint8_t* dst, std::int64_t samples) noexcept;
    Across across;
    Across acrossChecked;  ///< for floats that nearly always tell the result
    std::int64_t lanes;    ///< most results of a group; 0 where there are no kernels
};

/// The kernels read and write so many sums behind a row. They have to be finite.
inline constexpr std::int64_t longerSlack = 64;

/// The kernels of the running processor.
const ResizeLongerKernels& resizeLongerKernels();

}  // namespace ko
