// Histograms as the command line asks for them.
#pragma once

#include "commands/channels.h"

namespace ko::tool {

/// What is counted.
struct Counting {
    std::string file;
    Selection selection;
    std::optional<int> channel;  ///< none: all
    std::optional<int> row, column;
    bool withGray = false;
};

/// How often each level occurs.
struct Curve {
    std::string name;
    std::vector<std::uint32_t> counts;  ///< by level
};

struct Histograms {
    std::string file;
    int bits;
    std::vector<Curve> curves;

    int levels() const { return 1 << bits; }
};

/// Declares the settings, the file apart.
void addCounting(Settings& settings, Counting& counting);

/// Reads the file and counts its levels. Throws `Failure`.
Histograms countFile(const Counting& counting);

}  // namespace ko::tool
