// Row kernels of mean and deviation under a mask.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// Exact sum over selected samples. Signed samples are raised by half their range, so that all are positive:
/// it shifts the mean by `momentBias`.
struct MaskedSum {
    std::uint64_t count = 0;
    std::uint64_t sum = 0;
    std::int64_t highest = 0;  ///< of the raised samples
};

template <class T>
inline constexpr std::int64_t momentBias = std::is_signed_v<T> ? std::int64_t{1} << (8 * sizeof(T) - 1) : 0;

/// Functions of the rows of one sample type; samples count whose mask byte is not zero.
struct MomentRows {
    void (*add)(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                MaskedSum& sum) noexcept;

    /// Sum of the squared distances from `mean`, each rounded to the last digit that numbers from `anchor`, a
    /// power of two, to its double have. Below the anchor the sum is exact. An anchor of 0 rounds nothing.
    double (*squares)(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, double mean,
                      double anchor) noexcept;

    /// Whether the square of any raised sample up to `highest` is as far from two such roundings.
    bool (*hasTies)(std::int64_t highest, double mean, double anchor) noexcept;
};

/// For samples of one and two bytes.
struct MomentKernels {
    MomentRows i8;
    MomentRows u8;
    MomentRows i16;
    MomentRows u16;

    template <class T>
    constexpr const MomentRows& of() const noexcept
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
