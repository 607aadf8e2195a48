#include "base/log.h"

#include <QDebug>
#include <QMessageLogger>
#include <QString>

namespace ko {

void logError(const QString& message)
{
    QMessageLogger().critical() << "ERROR"
                                << "|" << QStringLiteral("%1").arg(message, 0, QLatin1Char(' '));
}

}  // namespace ko
