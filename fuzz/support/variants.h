// Values for the operations that take them as variants.
#pragma once

#include "fuzz/support/byte_reader.h"

#include <QPoint>
#include <QString>
#include <QVariant>

#include <cstddef>
#include <vector>

namespace ko::fuzz {

/// Of every type that converts to a sample, and of some that do not.
inline QVariant anyVariant(ByteReader& in)
{
    switch (in.below(8)) {
    case 0:
    case 1:
        return in.integer();
    case 2:
        return static_cast<uint>(in.integer());
    case 3:
        return in.real();
    case 4:
        return in.raw<float>();
    case 5:
        return in.raw<qlonglong>();
    case 6:
        return in.raw<qulonglong>();
    default:
        break;
    }
    switch (in.below(5)) {
    case 0:
        return QVariant();
    case 1:
        return QStringLiteral("12");
    case 2:
        return QStringLiteral("no number");
    case 3:
        return in.flag();
    default:
        return QPoint(1, 2);
    }
}

/// One value per channel that the record names.
inline std::vector<QVariant> anyVariants(ByteReader& in, std::size_t count)
{
    std::vector<QVariant> values(count);
    for (std::size_t i = 0; i < values.size() && i < 5; ++i)
        values[i] = anyVariant(in);
    return values;
}

}  // namespace ko::fuzz
