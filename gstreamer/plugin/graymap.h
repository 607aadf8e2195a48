// Pictures in files of Netpbm's PGM format.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ko::gst {

/// A gray picture, row by row.
struct Graymap {
    int width = 0;
    int height = 0;
    std::vector<std::uint16_t> samples;
};

/// Reads a binary PGM file (P5) of 8 or 16 bits. Throws `std::runtime_error` with a sentence for people.
Graymap readGraymap(const std::string& file);

}  // namespace ko::gst
