#include "io/dng_opcodes.h"

#include "io/tiff_numbers.h"

#include <algorithm>
#include <array>

namespace ko::tool {
namespace {

std::string nameOf(std::uint64_t opcode)
{
    constexpr std::array names{
        "WarpRectilinear",  "WarpFisheye",      "FixVignetteRadial", "FixBadPixelsConstant",
        "FixBadPixelsList", "TrimBounds",       "MapTable",          "MapPolynomial",
        "GainMap",          "DeltaPerRow",      "DeltaPerColumn",    "ScalePerRow",
        "ScalePerColumn",   "WarpRectilinear2",
    };
    return opcode >= 1 && opcode <= names.size() ? names[opcode - 1] : "others";
}

}  // namespace

void readOpcodes(LibRaw_abstract_datastream& stream, int size, std::vector<std::string>& names)
{
    // Whatever the byte order of the file, lists have the upper byte first: a count, and of each correction its number,
    // a version, flags, and the length of what follows.
    constexpr int headSize = 16;
    std::array<std::uint8_t, headSize> bytes{};
    if (size < 4 || stream.read(bytes.data(), 4, 1) != 1)
        return;
    std::uint64_t left = wholeAt(bytes.data(), 4, false);
    for (std::int64_t rest = size - 4; left > 0 && rest >= headSize; --left) {
        if (stream.read(bytes.data(), headSize, 1) != 1)
            break;
        const auto length = static_cast<std::int64_t>(wholeAt(&bytes[12], 4, false));
        rest -= headSize + length;
        if (rest < 0 || stream.seek(length, SEEK_CUR) != 0)
            break;
        const std::string name = nameOf(wholeAt(bytes.data(), 4, false));
        if (std::ranges::find(names, name) == names.end())
            names.push_back(name);
    }
}

}  // namespace ko::tool
