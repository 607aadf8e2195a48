#include "cli/progress_bar.h"

#include "cli/standard_error.h"

#include <string>

#include <unistd.h>

namespace ko::tool {

ProgressBar::ProgressBar(std::size_t total)
    : m_total(total), m_visible(total > 1 && isatty(STDERR_FILENO) == 1)
{
}

void ProgressBar::show(std::size_t done) const
{
    if (!m_visible)
        return;
    constexpr std::size_t width = 40;
    const std::size_t filled = width * done / m_total;
    writeError("\r[" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
               std::to_string(done) + '/' + std::to_string(m_total));
}

void ProgressBar::wipe() const
{
    if (m_visible)
        writeError("\r\033[K");
}

}  // namespace ko::tool
