// From a sample type code to a template instance: the one place that knows which code is which C++ type.
#pragma once

#include "base/checks.h"

#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace ko {

template <ExImageDataType Code>
struct SampleOf;
template <>
struct SampleOf<Int8> : std::type_identity<std::int8_t> {
};
template <>
struct SampleOf<UInt8> : std::type_identity<std::uint8_t> {
};
template <>
struct SampleOf<Int16> : std::type_identity<std::int16_t> {
};
template <>
struct SampleOf<UInt16> : std::type_identity<std::uint16_t> {
};
template <>
struct SampleOf<Int32> : std::type_identity<std::int32_t> {
};
template <>
struct SampleOf<UInt32> : std::type_identity<std::uint32_t> {
};
template <>
struct SampleOf<Float32> : std::type_identity<float> {
};
template <>
struct SampleOf<Float64> : std::type_identity<double> {
};
template <>
struct SampleOf<Int64> : std::type_identity<std::int64_t> {
};
template <>
struct SampleOf<UInt64> : std::type_identity<std::uint64_t> {
};

namespace detail {

/// Integers lose their sign, floats stay what they are.
template <class T, bool IsInteger = std::is_integral_v<T>>
struct WithoutSign : std::make_unsigned<T> {
};
template <class T>
struct WithoutSign<T, false> : std::type_identity<T> {
};

}  // namespace detail

/// Codes that each get the instance of their own type: for comparisons, arithmetic and values.
template <ExImageDataType... Codes>
struct ByTypeOf {
    template <ExImageDataType Code>
    using Sample = typename SampleOf<Code>::type;
};

/// Codes that share the instance of the unsigned type of their size: for work that signs cannot change.
template <ExImageDataType... Codes>
struct BySizeOf {
    template <ExImageDataType Code>
    using Sample = typename detail::WithoutSign<typename SampleOf<Code>::type>::type;
};

using ByType = ByTypeOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64, Int64, UInt64>;
using BySize = BySizeOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64, Int64, UInt64>;
using IntegersByType = ByTypeOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64>;
using IntegersBySize = BySizeOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64>;

/// Calls `body(std::type_identity<T>{})` with the type that `Table` gives to `code` and returns its status.
///
/// A code that the table does not hold answers `otherwise`; after that the first of `geometry` that does not
/// hold answers. A body without a result counts as `ResultOk`.
template <template <ExImageDataType...> class Table, ExImageDataType... Codes, class Body>
ResultCode dispatch(Table<Codes...>, ExImageDataType code, std::initializer_list<Check> geometry, Body&& body,
                    ResultCode otherwise = ResultUnsupportedType)
{
    if (const ResultCode rc = firstFailure(geometry))
        return ((code == Codes) || ...) ? rc : otherwise;
    ResultCode result = otherwise;
    const auto run = [&](auto type) {
        if constexpr (std::is_void_v<decltype(body(type))>) {
            body(type);
            result = ResultOk;
        } else {
            result = body(type);
        }
    };
    static_cast<void>(
        ((code == Codes &&
          (run(std::type_identity<typename Table<Codes...>::template Sample<Codes>>{}), true)) ||
         ...));
    return result;
}

}  // namespace ko
