// The library's error line.
#pragma once

class QString;

namespace ko {

/// Writes one critical record of three items: ERROR, a bar, the message.
void logError(const QString& message);

}  // namespace ko
