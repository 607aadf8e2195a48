// How far a series has come.
#pragma once

#include <cstddef>

namespace ko::tool {

/// Drawn on the last line of a terminal, wiped off before other output. Not drawn for a single file, nor
/// where the standard error is no terminal.
class ProgressBar {
public:
    explicit ProgressBar(std::size_t total);

    void show(std::size_t done) const;
    void wipe() const;

private:
    std::size_t m_total;
    bool m_visible;
};

}  // namespace ko::tool
