// Row kernels of the sums of whole regions.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>
#include <type_traits>

namespace ko {

/// What the samples of a type are summed in. Integers wrap: 8- and 16-bit samples at 32 bits, wider ones
/// at 64. Signed samples are extended with their sign, and the sum is to be read as signed.
template <class T>
using SumOf = std::conditional_t<std::is_floating_point_v<T>, double,
                                 std::conditional_t<sizeof(T) <= 2, std::uint32_t, std::uint64_t>>;

/// Sums of the samples of rows, spread over lanes. Sample i of a row belongs to channel i % `period`; the
/// number of samples is a multiple of it.
template <class T>
struct SumRows {
    /// Lanes that suit the processor's vectors for a period of 1 or more.
    std::int64_t (*laneCount)(std::int64_t period) noexcept;
    /// Adds rows, `pitch` bytes apart, to the lanes. Floating-point samples are added from left to right, one by
    /// one.
    void (*rows)(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
                 SumOf<T>* lanes, std::int64_t laneCount) noexcept;
    /// Adds the lanes up, by channel.
    void (*fold)(const SumOf<T>* lanes, std::int64_t laneCount, SumOf<T>* sums, std::int64_t period) noexcept;
};

using SumKernels = PerType<SumRows>;

/// The kernels of the running processor.
const SumKernels& sumKernels();

}  // namespace ko
