// Row kernels of count, sum and sum of squares under a mask.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// Exact sums over selected samples. Signed samples are raised by half their range, so that all are positive:
/// it shifts the mean by `momentBias` and leaves the deviation alone.
struct Moments {
    std::uint64_t count = 0;
    std::uint64_t sum = 0;
    std::uint64_t squares = 0;
};

template <class T>
inline constexpr std::int64_t momentBias = std::is_signed_v<T> ? std::int64_t{1} << (8 * sizeof(T) - 1) : 0;

/// Adds one row: the samples whose mask byte is not zero.
using MomentsRow = void (*)(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                            Moments& moments) noexcept;

/// For samples of one and two bytes.
struct MomentKernels {
    MomentsRow i8;
    MomentsRow u8;
    MomentsRow i16;
    MomentsRow u16;

    template <class T>
    constexpr MomentsRow of() const noexcept
    {
        static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
        if constexpr (sizeof(T) == 1)
            return std::is_signed_v<T> ? i8 : u8;
        else
            return std::is_signed_v<T> ? i16 : u16;
    }
};

/// The kernels of the running processor.
const MomentKernels& momentKernels();

}  // namespace ko
