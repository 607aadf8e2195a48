#include "cli/progress_bar.h"

#include "cli/standard_error.h"

#include <cmath>
#include <cstdio>

#include <unistd.h>

namespace ko::tool {

ProgressBar::ProgressBar(std::size_t total, Verbosity verbosity)
    : m_total(total), m_visible(total > 1 && verbosity != Verbosity::Quiet && isatty(STDERR_FILENO) == 1)
{
}

void ProgressBar::show(std::size_t done) const
{
    if (!m_visible)
        return;
    constexpr std::size_t width = 40;
    const std::size_t filled = width * done / m_total;
    writeError("\r[" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
               std::to_string(done) + '/' + std::to_string(m_total) + remainingTime(done) + "\033[K");
}

void ProgressBar::wipe() const
{
    if (m_visible)
        writeError("\r\033[K");
}

std::string ProgressBar::remainingTime(std::size_t done) const
{
    if (done == 0)
        return {};
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    const auto seconds = static_cast<long long>(
        std::ceil(elapsed.count() / static_cast<double>(done) * static_cast<double>(m_total - done)));
    char text[48];
    std::snprintf(text, sizeof text, ", %lld:%02lld left", seconds / 60, seconds % 60);
    return text;
}

}  // namespace ko::tool
