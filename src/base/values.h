// From a QVariant to a sample, in the two forms that operations use.
#pragma once

#include <QVariant>

#include <cstdint>
#include <type_traits>

namespace ko {

namespace detail {

/// The argument that names the type to `QVariant::convert`.
#if QT_VERSION_MAJOR >= 6
using ConversionTarget = QMetaType;
#else
using ConversionTarget = int;
#endif

/// Reads the stored value where the variant already holds `T`'s meta-type, converts it otherwise; `value` is
/// left alone when the conversion fails.
void extractTyped(const QVariant& variant, int metaType, void* value);

template <class T>
constexpr int metaTypeOf()
{
    if constexpr (std::is_same_v<T, std::int8_t>)
        return QMetaType::SChar;
    else if constexpr (std::is_same_v<T, std::int64_t>)
        return QMetaType::LongLong;
    else if constexpr (std::is_same_v<T, std::uint64_t>)
        return QMetaType::ULongLong;
    else
        return qMetaTypeId<T>();
}

}  // namespace detail

/// Plain conversion: the variant's own number (0 where it does not convert) cut to the low bits of `T`.
template <class T>
T plainValue(const QVariant& variant)
{
    if constexpr (std::is_same_v<T, float>)
        return variant.toFloat();
    else if constexpr (std::is_same_v<T, double>)
        return variant.toDouble();
    else if constexpr (std::is_same_v<T, std::int64_t>)
        return variant.toLongLong();
    else if constexpr (std::is_same_v<T, std::uint64_t>)
        return variant.toULongLong();
    else if constexpr (std::is_signed_v<T>)
        return static_cast<T>(variant.toInt());
    else
        return static_cast<T>(variant.toUInt());
}

/// Typed extraction: the value as the conversion to `T`'s own meta-type gives it, 0 where there is none.
/// Whole numbers are cut to the low bits here as well; `T`'s own meta-type is read without any conversion.
template <class T>
T typedValue(const QVariant& variant)
{
    T value{};
    detail::extractTyped(variant, detail::metaTypeOf<T>(), &value);
    return value;
}

}  // namespace ko
