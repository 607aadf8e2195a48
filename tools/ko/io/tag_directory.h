// The numbers of the tags of one directory of a TIFF file.
#pragma once

#include "io/tag_numbers.h"

#include <cstdint>
#include <map>
#include <vector>

namespace ko::tool {

using TagDirectory = std::map<int, std::vector<double>>;

inline std::vector<double> allOf(const TagDirectory& directory, Tag tag)
{
    const auto found = directory.find(tag);
    return found != directory.end() ? found->second : std::vector<double>{};
}

/// Without its fraction; 0 for what no tag of a sound file has.
inline std::int64_t wholeOf(double number)
{
    return number >= 0 && number <= 0xffffffff ? static_cast<std::int64_t>(number) : 0;
}

inline std::int64_t firstOf(const TagDirectory& directory, Tag tag, std::int64_t otherwise)
{
    const std::vector<double> numbers = allOf(directory, tag);
    return numbers.empty() ? otherwise : wholeOf(numbers[0]);
}

/// True for red, green and blue of every pixel instead of a mosaic.
inline bool hasAllColours(const TagDirectory& directory)
{
    return firstOf(directory, Photometric, 0) == LinearRaw && firstOf(directory, SamplesPerPixel, 1) == 3;
}

}  // namespace ko::tool
