// Histograms as the command line asks for them.
#pragma once

#include "commands/channels.h"

namespace ko::tool {

/// What is counted.
struct Counting {
    Selection selection;
    std::optional<int> channel;  ///< none: all
    std::optional<int> row, column;
    bool withGray = false;
};

/// How often each level of a channel, or of the gray of several, occurs.
struct ChannelCounts {
    std::string name;
    std::vector<std::uint32_t> counts;  ///< by level
};

struct Histograms {
    std::string file;
    int bits;
    std::vector<ChannelCounts> curves;

    int levels() const { return 1 << bits; }
};

/// Declares the settings.
void addCounting(Settings& settings, Counting& counting);

/// Reads a file and counts its levels.
Histograms countFile(const std::string& file, const Counting& counting);

}  // namespace ko::tool
