// The horizontal pass of Stretch arranged for vectors: which bytes of a row go into which lane.
#pragma once

#include "filters/stretch_table.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ko {

/// Two taps for sixteen lanes. Four lanes make a group; a group takes both samples of each of its lanes from
/// one window of 16 bytes.
struct StretchGatherStep {
    alignas(
        64) std::uint8_t shuffle[64];  ///< byte of the window for each byte of the 16-bit samples, 0x80: zero
    std::int16_t weights[32];          ///< of both samples of each lane
    std::int64_t window[4];            ///< byte of the row at which the window of a group starts
};

/// A whole row: for each 16 lanes, `pairs` steps to be added up.
struct StretchGather {
    std::vector<StretchGatherStep> steps;
    std::int64_t pairs = 0;
    bool oneWindow = false;   ///< all steps of a block have the same windows
    std::int64_t blocks = 0;  ///< of 16 lanes
    int samplesPerGroup = 0;  ///< lanes of each group in use, 3 or 4

    static constexpr int lanes = 16;
    static constexpr int groups = 4;
};

/// Arranges a pass over rows of `inputs` pixels of `channels` samples of `sampleSize` bytes; nothing when the
/// taps lie too far apart for the windows, or the row is shorter than one.
std::optional<StretchGather> arrangeGather(const StretchTable& table, std::int64_t inputs, int channels,
                                           int sampleSize);

}  // namespace ko
