// Row kernels of the running minimum and maximum.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Running extremes of one image, spread over lanes: sample i of every row belongs to lane i % `count`. Lanes
/// that are equal modulo `period` belong to the same channel or cell position; `period` divides `count`.
template <class T>
struct ExtremeLanes {
    T* low;
    T* high;
    std::int64_t count;
    std::int64_t period;
};

template <class T>
struct ExtremesRows {
    /// Lanes that suit the processor's vectors for a period of 1 or more.
    std::int64_t (*laneCount)(std::int64_t period) noexcept;
    /// Takes rows of samples, `pitch` bytes apart, into the lanes. A sample replaces a minimum or maximum only when
    /// it is strictly below or above it, so that NaN never does and a lane keeps the first zero it meets.
    void (*rows)(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
                 const ExtremeLanes<T>& lanes) noexcept;
    /// The same for one row, of the samples whose byte in `selection` is not zero.
    void (*selectedRow)(const std::uint8_t* row, const std::uint8_t* selection, std::int64_t samples,
                        const ExtremeLanes<T>& lanes) noexcept;
};

using ExtremesKernels = PerType<ExtremesRows>;

/// The kernels of the running processor.
const ExtremesKernels& extremesKernels();

}  // namespace ko
