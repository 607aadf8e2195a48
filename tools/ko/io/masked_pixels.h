// Pixels of a sensor that see no light.
#pragma once

#include <libraw/libraw.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko::tool {

/// What is to be added to black levels that LibRaw has made of masked pixels, of which it drops the fractions: 1 where
/// rounding gives the next one. Levels that come from elsewhere stay. Both are those of the cell in raster order, and the
/// samples those of the whole sensor.
std::array<int, 4> dropped(const libraw_image_sizes_t& sizes, const std::uint16_t* samples,
                           std::ptrdiff_t pitch, const std::array<int, 4>& levels);

}  // namespace ko::tool
