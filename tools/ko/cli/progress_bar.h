// How far a series has come.
#pragma once

#include "cli/jobs.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace ko::tool {

/// Drawn on the last line of a terminal, wiped off before other output. Not drawn for a single file, where
/// quiet is wanted, nor where the standard error is no terminal.
class ProgressBar {
public:
    ProgressBar(std::size_t total, Verbosity verbosity);

    void show(std::size_t done) const;
    void wipe() const;
    bool isVisible() const { return m_visible; }

private:
    std::string remainingTime(std::size_t done) const;

    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::size_t m_total;
    bool m_visible;
};

}  // namespace ko::tool
