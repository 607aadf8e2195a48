#include "base/values.h"

#include <QMetaType>

#include <cstdint>
#include <type_traits>

namespace ko::detail {

namespace {

/// Stores a number as the one of these types that `metaType` names, with the result of `QVariant::convert`. False
/// where it names none of them.
template <class... Samples>
bool storeAs(int metaType, int number, void* value) noexcept
{
    const auto store = [&]<class T>(std::type_identity<T>) {
        if (metaType != metaTypeOf<T>())
            return false;
        *static_cast<T*>(value) = static_cast<T>(number);
        return true;
    };
    return (store(std::type_identity<Samples>{}) || ...);
}

/// A variant made of an integer literal, as most are. Converting a copy of it takes 30 ns, half as long as an operation
/// on a tiny image.
bool extractInt(const QVariant& variant, int metaType, void* value) noexcept
{
    return variant.userType() == QMetaType::Int &&
           storeAs<std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t, std::int8_t, std::int16_t,
                   std::int64_t, float, double>(metaType, *static_cast<const int*>(variant.constData()),
                                                value);
}

}  // namespace

void extractTyped(const QVariant& variant, int metaType, void* value)
{
    const QMetaType type(metaType);
    if (variant.userType() == metaType) {
        type.destruct(value);
        type.construct(value, variant.constData());
        return;
    }
    if (extractInt(variant, metaType, value))
        return;
    // Qt registers conversions between types of its own when it is first asked, and prints a warning where two threads
    // ask at once.
    [[maybe_unused]] static const bool hasAsked = QVariant(variant).convert(ConversionTarget(metaType));
    QVariant converted = variant;
    if (converted.convert(ConversionTarget(metaType))) {
        type.destruct(value);
        type.construct(value, converted.constData());
    }
}

}  // namespace ko::detail
