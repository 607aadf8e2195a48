#include "base/values.h"

#include <QMetaType>

namespace ko::detail {

void extractTyped(const QVariant& variant, int metaType, void* value)
{
    if (variant.userType() == metaType) {
        QMetaType::destruct(metaType, value);
        QMetaType::construct(metaType, value, variant.constData());
        return;
    }
    QVariant converted = variant;
    if (converted.convert(metaType)) {
        QMetaType::destruct(metaType, value);
        QMetaType::construct(metaType, value, converted.constData());
    }
}

}  // namespace ko::detail
