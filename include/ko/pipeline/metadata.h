// What travels with a frame besides its pixels.
#pragma once

#include <ko/export.h>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace ko {

/// Named values, ordered by name. Copies share their memory until one of them is changed.
class KO_EXPORT CxMetadata {
public:
    /// Whether there is no value.
    bool isEmpty() const { return m_values.isEmpty(); }
    /// Number of values.
    int count() const { return static_cast<int>(m_values.size()); }
    /// Whether there is a value of that name.
    bool contains(const QString& name) const { return m_values.contains(name); }

    /// All names in ascending order.
    QStringList names() const { return m_values.keys(); }

    /// The value of a name, or `fallback` where there is none.
    QVariant value(const QString& name, const QVariant& fallback = {}) const;

    /// Adds a value or replaces the one of that name. An invalid QVariant is a value too.
    void set(const QString& name, const QVariant& value);

    /// False where there was no such name.
    bool remove(const QString& name);

    /// Equal names with equal values.
    bool operator==(const CxMetadata& other) const { return m_values == other.m_values; }
    /// Not equal.
    bool operator!=(const CxMetadata& other) const { return !(*this == other); }

private:
    QMap<QString, QVariant> m_values;
};

}  // namespace ko
