// Names and colours of the mosaic patterns.
#pragma once

#include "cli/settings.h"

#include <ko/image.h>

#include <optional>
#include <string>
#include <string_view>

namespace ko::tool {

/// The colours of the cell in raster order, for example "RGGB".
std::string gridName(ExBayerGrid grid);

/// The pattern of a name in any case; nothing for a name of none.
std::optional<ExBayerGrid> gridOfName(std::string_view name);

/// Colour of a sensor position: 0 red, 1 green, 2 blue.
int colourAt(ExBayerGrid grid, std::int64_t x, std::int64_t y);

/// The pattern of a mosaic seen from the position (x, y), which becomes its first.
ExBayerGrid gridAt(ExBayerGrid grid, int x, int y);

/// The patterns by their names, as a setting takes them.
Settings::Words gridWords();

}  // namespace ko::tool
