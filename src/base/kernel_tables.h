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

/// One set of row functions per sample type: the counterpart of `ByType`.
template <template <class> class Rows>
struct PerType {
    Rows<std::int8_t> i8;
    Rows<std::uint8_t> u8;
    Rows<std::int16_t> i16;
    Rows<std::uint16_t> u16;
    Rows<std::int32_t> i32;
    Rows<std::uint32_t> u32;
    Rows<float> f32;
    Rows<double> f64;
    Rows<std::int64_t> i64;
    Rows<std::uint64_t> u64;

    template <class T>
    constexpr const Rows<T>& of() const noexcept
    {
        if constexpr (std::is_same_v<T, std::int8_t>)
            return i8;
        else if constexpr (std::is_same_v<T, std::uint8_t>)
            return u8;
        else if constexpr (std::is_same_v<T, std::int16_t>)
            return i16;
        else if constexpr (std::is_same_v<T, std::uint16_t>)
            return u16;
        else if constexpr (std::is_same_v<T, std::int32_t>)
            return i32;
        else if constexpr (std::is_same_v<T, std::uint32_t>)
            return u32;
        else if constexpr (std::is_same_v<T, float>)
            return f32;
        else if constexpr (std::is_same_v<T, double>)
            return f64;
        else if constexpr (std::is_same_v<T, std::int64_t>)
            return i64;
        else
            return u64;
    }
};

}  // namespace ko
