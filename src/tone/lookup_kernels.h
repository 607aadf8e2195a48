// Row kernels that replace samples by what a table holds for them.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// One row: dst[i] = table[src[i]], with an entry for every value of the sample. src and dst may be the same
/// memory. Words need the memory of one more entry, which is read but not used.
template <class T>
using LookUpRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                           const T* table) noexcept;

template <class T>
struct LookUpRows {
    LookUpRow<T> row;
    /// The first three channels of a row of pixels, each by its table. src and dst may be the same memory.
    void (*colours)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, std::int64_t channels,
                    const T* const* tables) noexcept;
};

struct LookUpKernels {
    LookUpRows<std::uint8_t> u8;
    LookUpRows<std::uint16_t> u16;

    template <class T>
    constexpr const LookUpRows<T>& of() const noexcept
    {
        if constexpr (std::is_same_v<T, std::uint8_t>)
            return u8;
        else
            return u16;
    }
};

/// The kernels of the running processor.
const LookUpKernels& lookUpKernels();

}  // namespace ko
