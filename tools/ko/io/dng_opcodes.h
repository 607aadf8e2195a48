// The corrections that a DNG file asks for, as it lists them.
#pragma once

#include "io/tiff_numbers.h"

#include <libraw/libraw.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::tool {

enum OpcodeNumber : std::uint32_t {
    WarpRectilinear = 1,
    FixVignetteRadial = 3,
    FixBadPixelsConstant = 4,
    FixBadPixelsList = 5,
    MapPolynomial = 8,
    GainMapping = 9,  ///< GainMap, which is a type here
};

/// A correction by its number, and what most have first: their area (top, left, bottom, right), the first of the
/// planes that they change, how many these are, and from how many rows and columns they change one. Zeros where a
/// correction is too short for that.
struct Opcode {
    std::uint32_t number;
    bool isOption;       ///< programs that do not know it may leave it out
    std::int64_t place;  ///< of its bytes in the file
    std::uint32_t length;
    std::array<std::uint32_t, 4> area;
    std::uint32_t plane;
    std::uint32_t planes;
    std::array<std::uint32_t, 2> pitches;
};

struct OpcodeList {
    std::vector<Opcode> opcodes;
    bool isDamaged = false;  ///< ends before its count is reached, or has more than any sound file
};

/// The list that begins where the stream stands and has so many bytes.
OpcodeList readOpcodes(LibRaw_abstract_datastream& stream, int size);

/// The bytes of a correction, the upper one of numbers first.
class OpcodeBody {
public:
    /// None of it where the file ends before.
    OpcodeBody(LibRaw_abstract_datastream& stream, const Opcode& opcode);

    std::size_t size() const { return m_bytes.size(); }
    std::uint32_t whole(std::size_t at) const { return static_cast<std::uint32_t>(bits(at, 4)); }
    float single(std::size_t at) const { return std::bit_cast<float>(whole(at)); }
    double number(std::size_t at) const { return std::bit_cast<double>(bits(at, 8)); }

private:
    std::uint64_t bits(std::size_t at, int count) const { return wholeAt(&m_bytes[at], count, false); }

    std::vector<std::uint8_t> m_bytes;
};

/// As DNG files name it.
std::string nameOf(const Opcode& opcode);

}  // namespace ko::tool
