// The corrections that a DNG file asks for, as it lists them.
#pragma once

#include <libraw/libraw.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::tool {

constexpr std::uint32_t MapPolynomialCode = 8;
constexpr std::uint32_t GainMapCode = 9;

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

/// As DNG files name it.
std::string nameOf(const Opcode& opcode);

}  // namespace ko::tool
