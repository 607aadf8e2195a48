// Row functions of one shape for several sample types.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// One row function per sample size, floats apart: the counterpart of `BySize`.
template <class Row>
struct PerSize {
    Row u8;
    Row u16;
    Row u32;
    Row u64;
    Row f32;
    Row f64;

    template <class T>
    constexpr Row of() const noexcept
    {
        if constexpr (std::is_same_v<T, float>)
            return f32;
        else if constexpr (std::is_same_v<T, double>)
            return f64;
        else if constexpr (sizeof(T) == 1)
            return u8;
        else if constexpr (sizeof(T) == 2)
            return u16;
        else if constexpr (sizeof(T) == 4)
            return u32;
        else
            return u64;
    }
};

/// One row function per size of integer samples: the counterpart of `IntegersBySize`.
template <class Row>
struct PerIntegerSize {
    Row u8;
    Row u16;
    Row u32;
    Row u64;

    template <class T>
    constexpr Row of() const noexcept
    {
        static_assert(std::is_integral_v<T>);
        if constexpr (sizeof(T) == 1)
            return u8;
        else if constexpr (sizeof(T) == 2)
            return u16;
        else if constexpr (sizeof(T) == 4)
            return u32;
        else
            return u64;
    }
};

}  // namespace ko
