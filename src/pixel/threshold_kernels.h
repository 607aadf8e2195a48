// Row kernels of the threshold operations.
#pragma once

#include "base/kernel_tables.h"
#include "base/repeat.h"
#include "base/row_pairs.h"

#include <cstdint>

namespace ko {

/// Thresholds in the source's sample type, results in the destination's. Sample i of a row takes number i
/// modulo `period` of each.
template <class T, class Out>
struct BinaryLevels {
    const T* thresholds;
    const Out* lows;
    const Out* highs;
    std::int64_t period;
};

/// The same for an operation that keeps the samples above their thresholds.
template <class T>
struct KeepLevels {
    const T* thresholds;
    const T* values;
    std::int64_t period;
};

/// High where a sample is above its threshold, low elsewhere. src and dst may be the same memory when their
/// samples have the same size.
template <class T, class Out>
using BinaryRows = void (*)(const RowPairs& pairs, const BinaryLevels<T, Out>& levels) noexcept;

/// Samples from one pixel to the next.
struct PixelSteps {
    std::int64_t src;
    std::int64_t dst;
};

/// Samples after which the levels of pixels with a fourth channel that stays repeat.
inline constexpr std::int64_t treatedPeriod = repeatPeriod(4);

template <class T>
struct ThresholdRows {
    BinaryRows<T, T> binary;
    BinaryRows<T, std::uint8_t> mark;
    /// `mark` for the samples whose byte in `treated` (numbered like the levels) is not zero; the others of
    /// dst stay. The period is `treatedPeriod`.
    void (*markTreated)(const RowPairs& pairs, const BinaryLevels<T, std::uint8_t>& levels,
                        const std::uint8_t* treated) noexcept;
    /// One channel of a row of pixels, by the first of the levels.
    void (*markChannel)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, PixelSteps steps,
                        const BinaryLevels<T, std::uint8_t>& levels) noexcept;
    /// One row in place: samples above their threshold stay, those at or below it become the value.
    void (*keep)(std::uint8_t* row, std::int64_t samples, const KeepLevels<T>& levels) noexcept;
};

using ThresholdKernels = PerType<ThresholdRows>;

/// The kernels of the running processor.
const ThresholdKernels& thresholdKernels();

}  // namespace ko
