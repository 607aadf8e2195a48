// Figures of a frame.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

#include <cstdint>
#include <vector>

namespace ko::gst {

/// The levels of one colour.
struct ColourStats {
    const char* name = "";
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    double mean = 0;
    double clipped = 0;  ///< share of the samples that are at the highest level or above it
};

/// Counts the levels of a frame's colours. Samples above the depth count at its highest level. Throws `Error`.
void countLevels(const SxImageBuf& frame, CxImageHistogram& histogram);

/// The colours of a frame: "gray"; "red", "green", "blue"; of a mosaic "red", "green-even", "green-odd" (the greens of
/// the rows with even and with odd numbers, the first being 0), "blue".
/// @param histogram  the frame's
std::vector<ColourStats> colourStats(const SxImageBuf& frame, const CxImageHistogram& histogram);

/// How many levels the depth of a frame has.
std::uint32_t levelsOf(const SxImageBuf& frame);

}  // namespace ko::gst
