#include "base/log.h"

#include <QDebug>
#include <QMessageLogger>
#include <QString>

namespace ko {

void logError(const QString& message) noexcept
{
    try {
        // Without a place in the source the record still has the category "default", which a logger made
        // without arguments does not give it.
        QMessageLogger(nullptr, 0, nullptr).critical()
            << "ERROR"
            << "|" << QStringLiteral("%1").arg(message, 0, QLatin1Char(' '));
    } catch (...) {
        // The caller's own answer tells of the failure.
    }
}

}  // namespace ko
