// Qualities of JPEG and WebP files.
#pragma once

namespace ko::tool {

constexpr int lowestQuality = 1;
constexpr int highestQuality = 100;

}  // namespace ko::tool
