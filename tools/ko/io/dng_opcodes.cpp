#include "io/dng_opcodes.h"

#include <algorithm>

namespace ko::tool {

std::string nameOf(const Opcode& opcode)
{
    constexpr std::array names{
        "WarpRectilinear",  "WarpFisheye",      "FixVignetteRadial", "FixBadPixelsConstant",
        "FixBadPixelsList", "TrimBounds",       "MapTable",          "MapPolynomial",
        "GainMap",          "DeltaPerRow",      "DeltaPerColumn",    "ScalePerRow",
        "ScalePerColumn",   "WarpRectilinear2",
    };
    return opcode.number >= 1 && opcode.number <= names.size() ? names[opcode.number - 1] : "others";
}

OpcodeBody::OpcodeBody(LibRaw_abstract_datastream& stream, const Opcode& opcode)
{
    if (opcode.place + opcode.length > stream.size() || stream.seek(opcode.place, SEEK_SET) != 0)
        return;
    m_bytes.resize(opcode.length);
    if (!m_bytes.empty() && stream.read(m_bytes.data(), m_bytes.size(), 1) != 1)
        m_bytes.clear();
}

OpcodeList readOpcodes(LibRaw_abstract_datastream& stream, int size)
{
    // Whatever the byte order of the file, lists have the upper byte first: a count, and of each correction its number,
    // a version, flags, and the length of what follows.
    constexpr std::int64_t headSize = 16;
    constexpr std::size_t mostBody = 32;
    std::array<std::uint8_t, headSize + mostBody> bytes{};
    const auto numberAt = [&bytes](std::size_t place) {
        return static_cast<std::uint32_t>(wholeAt(&bytes[4 * place], 4, false));
    };
    OpcodeList list{{}, true};
    if (size < 4 || stream.read(bytes.data(), 4, 1) != 1)
        return list;
    constexpr std::uint32_t mostOpcodes = 1024;  // what damaged files have more of only takes memory
    const std::uint32_t count = numberAt(0);
    for (std::int64_t rest = size - 4; list.opcodes.size() < std::min(count, mostOpcodes);) {
        bytes.fill(0);
        if (rest < headSize || stream.read(bytes.data(), headSize, 1) != 1)
            return list;
        const std::uint32_t length = numberAt(3);
        const std::int64_t place = stream.tell();
        rest -= headSize + std::int64_t{length};
        const std::size_t body = std::min<std::size_t>(length, mostBody);
        if (rest < 0 || (body > 0 && stream.read(&bytes[headSize], body, 1) != 1) ||
            stream.seek(place + length, SEEK_SET) != 0)
            return list;
        list.opcodes.push_back({numberAt(0),
                                (numberAt(2) & 1) != 0,
                                place,
                                length,
                                {numberAt(4), numberAt(5), numberAt(6), numberAt(7)},
                                numberAt(8),
                                numberAt(9),
                                {numberAt(10), numberAt(11)}});
    }
    list.isDamaged = count > mostOpcodes;
    return list;
}

}  // namespace ko::tool
