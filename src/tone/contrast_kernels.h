// Row kernels of the contrast bands.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// A band of levels and the factor that spreads it over the whole range.
struct ContrastBand {
    std::int32_t low;
    std::int32_t high;
    double scale;  ///< top / (high - low): not finite for a band of one level, negative for an inverted one
    double limit;  ///< top + 1, at most 2^31
};

template <class T>
struct ContrastRows {
    /// (sample - low) * scale without its fraction, 0 where that is negative or not below the limit. src and
    /// dst may be the same memory.
    void (*stretch)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                    const ContrastBand& band) noexcept;
    /// (sample - low) / scale without its fraction, 0 where the sample is outside of low...high. src and dst
    /// may be the same memory.
    void (*compress)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                     const ContrastBand& band) noexcept;
    /// The means of two rows, halves kept, stretched.
    void (*stretchMean)(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
                        std::int64_t samples, const ContrastBand& band) noexcept;
    /// The means of two rows, halves dropped.
    void (*mean)(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
                 std::int64_t samples) noexcept;
    /// Takes whole pixels of three channels apart.
    void (*split)(const std::uint8_t* src, std::int64_t pixels, std::uint8_t* const* channels) noexcept;
    /// Puts them together.
    void (*merge)(const std::uint8_t* const* channels, std::int64_t pixels, std::uint8_t* dst) noexcept;
    /// Clears the results of the pixels whose three samples do not all lie in low...high.
    void (*clearOutside)(const std::uint8_t* const* samples, std::uint8_t* const* results,
                         std::int64_t pixels, const ContrastBand& band) noexcept;
};

struct ContrastKernels {
    ContrastRows<std::uint8_t> u8;
    ContrastRows<std::uint16_t> u16;

    template <class T>
    constexpr const ContrastRows<T>& of() const noexcept
    {
        if constexpr (std::is_same_v<T, std::uint8_t>)
            return u8;
        else
            return u16;
    }
};

/// The kernels of the running processor.
const ContrastKernels& contrastKernels();

}  // namespace ko
