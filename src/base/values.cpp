#include "base/values.h"

#include <QMetaType>

namespace ko::detail {

void extractTyped(const QVariant& variant, int metaType, void* value)
{
    const QMetaType type(metaType);
    if (variant.userType() == metaType) {
        type.destruct(value);
        type.construct(value, variant.constData());
        return;
    }
    QVariant converted = variant;
    if (converted.convert(ConversionTarget(metaType))) {
        type.destruct(value);
        type.construct(value, converted.constData());
    }
}

}  // namespace ko::detail
