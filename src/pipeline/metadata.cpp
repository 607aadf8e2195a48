#include <ko/pipeline/metadata.h>

namespace ko {

QVariant CxMetadata::value(const QString& name, const QVariant& fallback) const
{
    return m_values.value(name, fallback);
}

void CxMetadata::set(const QString& name, const QVariant& value)
{
    m_values.insert(name, value);
}

bool CxMetadata::remove(const QString& name)
{
    return m_values.remove(name) > 0;
}

}  // namespace ko
