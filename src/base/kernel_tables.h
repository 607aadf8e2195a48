// Row functions of one shape for several sample types. No table answers for a type that it has no entry for.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

template <class T, class... Types>
concept OneOf = (std::is_same_v<T, Types> || ...);

/// One entry per depth of a camera's samples. The two may be of different types.
template <class Row8, class Row16 = Row8>
struct PerDepth {
    Row8 u8;
    Row16 u16;

    template <OneOf<std::uint8_t, std::uint16_t> T>
    constexpr const auto& of() const noexcept
    {
        if constexpr (sizeof(T) == 1)
            return u8;
        else
            return u16;
    }
};

/// One entry per type of unsigned samples up to 32 bits.
template <class Row>
struct PerUnsigned {
    Row u8;
    Row u16;
    Row u32;

    template <OneOf<std::uint8_t, std::uint16_t, std::uint32_t> T>
    constexpr const Row& of() const noexcept
    {
        if constexpr (sizeof(T) == 1)
            return u8;
        else if constexpr (sizeof(T) == 2)
            return u16;
        else
            return u32;
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
    requires std::is_integral_v<T>
    constexpr Row of() const noexcept
    {
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

/// One row function per sample size, floats apart: the counterpart of `BySize`.
template <class Row>
struct PerSize : PerIntegerSize<Row> {
    Row f32;
    Row f64;

    template <class T>
    requires std::is_integral_v<T> || OneOf<T, float, double>
    constexpr Row of() const noexcept
    {
        if constexpr (std::is_same_v<T, float>)
            return f32;
        else if constexpr (std::is_same_v<T, double>)
            return f64;
        else
            return PerIntegerSize<Row>::template of<T>();
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

    template <OneOf<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                    float, double, std::int64_t, std::uint64_t>
                  T>
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

/// The table of what `rowOf(std::type_identity<T>{})` gives for each size.
template <class Row, class RowOf>
constexpr PerSize<Row> perSize(const RowOf& rowOf) noexcept
{
    return {{rowOf(std::type_identity<std::uint8_t>{}), rowOf(std::type_identity<std::uint16_t>{}),
             rowOf(std::type_identity<std::uint32_t>{}), rowOf(std::type_identity<std::uint64_t>{})},
            rowOf(std::type_identity<float>{}),
            rowOf(std::type_identity<double>{})};
}

/// The table of what `rowsOf(std::type_identity<T>{})` gives for each type.
template <template <class> class Rows, class RowsOf>
constexpr PerType<Rows> perType(const RowsOf& rowsOf) noexcept
{
    return {rowsOf(std::type_identity<std::int8_t>{}),  rowsOf(std::type_identity<std::uint8_t>{}),
            rowsOf(std::type_identity<std::int16_t>{}), rowsOf(std::type_identity<std::uint16_t>{}),
            rowsOf(std::type_identity<std::int32_t>{}), rowsOf(std::type_identity<std::uint32_t>{}),
            rowsOf(std::type_identity<float>{}),        rowsOf(std::type_identity<double>{}),
            rowsOf(std::type_identity<std::int64_t>{}), rowsOf(std::type_identity<std::uint64_t>{})};
}

}  // namespace ko
