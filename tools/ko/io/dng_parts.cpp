#include "io/dng_parts.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ko::tool {
namespace {

/// Words are in the order of the file, other samples follow each other with their upper bits first.
std::uint16_t sampleAt(const std::uint8_t* row, std::size_t x, const DngParts& parts)
{
    if (parts.bits == 16) {
        const std::uint8_t* const word = row + 2 * x;
        return static_cast<std::uint16_t>(parts.isLittle ? word[1] << 8 | word[0] : word[0] << 8 | word[1]);
    }
    const auto bits = static_cast<std::size_t>(parts.bits);
    const std::uint8_t* const first = row + x * bits / 8;
    const unsigned window =
        static_cast<unsigned>(first[0]) << 16 | static_cast<unsigned>(first[1]) << 8 | first[2];
    return static_cast<std::uint16_t>(window >> (24 - x * bits % 8 - bits) & ((1U << bits) - 1));
}

bool areSound(const DngParts& parts, int width, int height)
{
    constexpr std::int64_t most = 1 << 17;
    const auto isSide = [](std::int64_t side) { return side > 0 && side <= most; };
    if (!isSide(parts.width) || !isSide(parts.height) || parts.bits < 1 || parts.bits > 16)
        return false;
    const std::int64_t across = (width + parts.width - 1) / parts.width;
    const std::int64_t down = (height + parts.height - 1) / parts.height;
    return static_cast<std::int64_t>(parts.offsets.size()) == across * down;
}

}  // namespace

std::optional<std::vector<std::uint16_t>> readParts(LibRaw_abstract_datastream& stream, const DngParts& parts,
                                                    int width, int height)
{
    if (!areSound(parts, width, height))
        return {};
    const auto rowBytes = static_cast<std::size_t>((parts.width * parts.bits + 7) / 8);
    std::vector<std::uint8_t> row(rowBytes + 2);  // the last sample is looked for in three bytes
    std::vector<std::uint16_t> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::int64_t left = 0;
    std::int64_t top = 0;
    for (const std::int64_t offset : parts.offsets) {
        if (stream.seek(offset, SEEK_SET) != 0)
            return {};
        for (std::int64_t y = top; y < std::min<std::int64_t>(top + parts.height, height); ++y) {
            if (stream.read(row.data(), rowBytes, 1) != 1)
                return {};
            std::uint16_t* to = samples.data() + y * width + left;
            const auto columns = static_cast<std::size_t>(std::min(parts.width, width - left));
            for (std::size_t x = 0; x < columns; ++x)
                *to++ = sampleAt(row.data(), x, parts);
        }
        left += parts.width;
        if (left >= width) {
            left = 0;
            top += parts.height;
        }
    }
    return samples;
}

std::optional<JpegFrame> readJpegFrame(LibRaw_abstract_datastream& stream, std::int64_t offset)
{
    constexpr int mostSegments = 64;
    constexpr int losslessFrame = 0xffc3;
    std::array<std::uint8_t, 6> bytes{};
    const auto wordAt = [&bytes](std::size_t at) { return bytes[at] << 8 | bytes[at + 1]; };
    std::int64_t at = offset + 2;
    for (int segment = 0; segment < mostSegments; ++segment) {
        if (stream.seek(at, SEEK_SET) != 0 || stream.read(bytes.data(), 4, 1) != 1)
            return {};
        if (wordAt(0) == losslessFrame) {
            if (stream.read(bytes.data(), bytes.size(), 1) != 1)
                return {};
            return JpegFrame{wordAt(3), wordAt(1), bytes[5]};
        }
        at += 2 + wordAt(2);
    }
    return {};
}

}  // namespace ko::tool
