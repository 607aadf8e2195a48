// Row kernels of the contrast bands.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// A band of levels and the factor that spreads it over the whole range.
struct ContrastBand {
    std::int32_t low;
    std::int32_t high;
    double scale;  ///< top / (high - low): not finite for a band of one level, negative for an inverted one
    double limit;  ///< top + 1, at most 2^31
};

/// Distances from the lowest level of a band as parts of a range in whole numbers: distance * numerator /
/// denominator without its fraction, less one where `carry` says so.
struct LevelQuotient {
    std::uint32_t low;
    std::uint32_t width;  ///< high - low, 1 or more
    std::uint32_t numerator;
    std::uint32_t denominator;
    /// Remainder from which on an estimate is one too low: the denominator, one more where the quotient of a
    /// distance that the denominator divides is to be one less.
    std::uint32_t carry;
    /// distance * spread * factor / 2^16 is a little below the quotient. Where 16 bits hold all that is
    /// computed, the spread makes the most of them; else it is 1.
    std::uint32_t spread;
    std::uint32_t factor;
    bool fits16Bits;
};

/// Samples outside of the band become 0. src and dst may be the same memory.
using QuotientRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                             const LevelQuotient& quotient) noexcept;

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
    /// Brings samples that lie `step` apart together.
    void (*gather)(const std::uint8_t* src, std::int64_t step, std::int64_t count,
                   std::uint8_t* out) noexcept;
    /// Puts samples `step` apart.
    void (*scatter)(const std::uint8_t* samples, std::uint8_t* dst, std::int64_t step,
                    std::int64_t count) noexcept;
};

struct ContrastKernels : PerDepth<ContrastRows<std::uint8_t>, ContrastRows<std::uint16_t>> {
    /// Words as parts of the range, for quotients that 16 bits hold and for all.
    QuotientRow quotients16;
    QuotientRow quotients32;
};

/// The kernels of the running processor.
const ContrastKernels& contrastKernels();

}  // namespace ko
