// The corrections that a DNG file asks for.
#pragma once

#include <libraw/libraw.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::tool {

constexpr std::uint32_t MapPolynomial = 8;

/// A correction by its number, and what most have first: their area (top, left, bottom, right), the first of the
/// planes that they change, how many these are, and from how many rows and columns they change one. Zeros where a
/// correction is too short for that.
struct Opcode {
    std::uint32_t number;
    std::array<std::uint32_t, 4> area;
    std::uint32_t plane;
    std::uint32_t planes;
    std::array<std::uint32_t, 2> pitches;
};

/// Those of a list that begins where the stream stands and has so many bytes. A list that makes no sense ends early.
std::vector<Opcode> readOpcodes(LibRaw_abstract_datastream& stream, int size);

/// As DNG files name it.
std::string nameOf(const Opcode& opcode);

}  // namespace ko::tool
