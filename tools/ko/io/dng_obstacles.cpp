#include "io/dng_obstacles.h"

#include <algorithm>

namespace ko::tool {
namespace {

std::string nameOfCompression(std::int64_t number)
{
    switch (number) {
    case 5:
        return "LZW";
    case 8:
    case 32946:
        return "Deflate";
    case 32773:
        return "PackBits";
    case 52546:
        return "JPEG XL";
    default:
        return "method " + std::to_string(number);
    }
}

bool areAll(const std::vector<double>& numbers, double number)
{
    return std::ranges::all_of(numbers, [number](double other) { return other == number; });
}

/// True where one polynomial for each colour makes the samples linear, all over the picture.
bool mapsEveryColour(const TagDirectory& directory, const std::vector<Opcode>& corrections)
{
    if (corrections.size() != 3)
        return false;
    for (std::uint32_t colour = 0; colour < 3; ++colour) {
        const Opcode& map = corrections[colour];
        if (map.number != MapPolynomial || map.plane != colour || map.planes != 1 || map.area[0] != 0 ||
            map.area[1] != 0 || map.area[2] < firstOf(directory, Height, 0) ||
            map.area[3] < firstOf(directory, Width, 0) || map.pitches[0] != 1 || map.pitches[1] != 1)
            return false;
    }
    return true;
}

std::string obstacleOfColours(const TagDirectory& directory, const std::vector<Opcode>& corrections)
{
    if (firstOf(directory, PlanarConfiguration, 1) != 1)
        return "its colours lie one behind the other, which is not supported in camera raws";
    const std::vector<double> whites = allOf(directory, WhiteLevel);
    if (!whites.empty() && !areAll(whites, whites[0]))
        return "its colours have white levels of their own, which is not supported in camera raws";
    if (firstOf(directory, Compression, 1) == LossyJpeg &&
        (!mapsEveryColour(directory, corrections) || directory.contains(LinearizationTable) ||
         !areAll(allOf(directory, BlackLevel), 0) || !areAll(whites, 255)))
        return "its samples are JPEG without a polynomial for each colour and nothing else to make them "
               "linear, "
               "which is not supported in camera raws";
    return {};
}

}  // namespace

std::string obstacleOf(const TagDirectory& directory, const std::vector<Opcode>& corrections)
{
    if (firstOf(directory, SampleFormat, 1) == 3)
        return "its samples are floating-point numbers, which are not supported in camera raws";
    const std::int64_t compression = firstOf(directory, Compression, 1);
    if (compression != 1 && compression != LosslessJpeg && compression != LossyJpeg)
        return "its samples are compressed by " + nameOfCompression(compression) +
               ", which is not supported in camera raws";
    if (const std::int64_t bits = firstOf(directory, BitsPerSample, 16); bits > 16)
        return "its samples have " + std::to_string(bits) + " bits; those of camera raws may have 16";
    if (compression == LosslessJpeg && !directory.contains(TileOffsets) &&
        allOf(directory, StripOffsets).size() > 1)
        return "its samples are lossless JPEG in several strips, which is not supported in camera raws";
    if (firstOf(directory, CfaLayout, 1) > 1)
        return "its rows or columns are staggered, which is not supported in camera raws";
    // LibRaw takes them for red, green and blue in any case.
    if (!std::ranges::is_sorted(allOf(directory, CfaPlaneColor)))
        return "its colours are not in the order of red, green and blue, which is not supported in camera "
               "raws";
    const auto isMixed = [&](Tag tag) {
        return std::ranges::any_of(allOf(directory, tag), [](double number) { return number > 1; });
    };
    if (isMixed(SubTileBlockSize) || isMixed(RowInterleaveFactor) || isMixed(ColumnInterleaveFactor))
        return "its samples are interleaved, which is not supported in camera raws";
    return hasAllColours(directory) ? obstacleOfColours(directory, corrections) : "";
}

}  // namespace ko::tool
