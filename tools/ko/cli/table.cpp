#include "cli/table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ko::tool {

std::string Table::text() const
{
    std::vector<std::size_t> widths(m_rows.front().size(), 13);
    widths.front() = 12;
    for (const std::vector<std::string>& row : m_rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size() + 1);
    std::string text;
    for (const std::vector<std::string>& row : m_rows) {
        text += row.front() + std::string(widths.front() - row.front().size(), ' ');
        for (std::size_t i = 1; i < row.size(); ++i)
            text += std::string(widths[i] - row[i].size(), ' ') + row[i];
        text += '\n';
    }
    return text;
}

std::string shown(double number)
{
    const double size = std::abs(number);
    const bool isPlain = size == 0 || (size >= 0.1 && size < 1e9);
    char text[32];
    std::snprintf(text, sizeof text, isPlain ? "%.3f" : "%.6g", number + 0.0);  // no minus before zero
    return text;
}

}  // namespace ko::tool
