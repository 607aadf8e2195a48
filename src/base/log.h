// The library's error line.
#pragma once

class QString;

namespace ko {

/// Writes one critical record of three items: ERROR, a bar, the message. If memory runs out, nothing is
/// written.
void logError(const QString& message) noexcept;

}  // namespace ko
