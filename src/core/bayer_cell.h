// Where the colours of a mosaic lie.
#pragma once

#include <ko/image.h>

namespace ko {

/// Position of red in the 2 x 2 cells of a mosaic or of a region of it. Blue is diagonal to red; the greens
/// take the other two places.
struct BayerCell {
    int redColumn;
    int redRow;
};

constexpr bool isBayerGrid(ExBayerGrid grid) noexcept
{
    return grid >= BayerBGGR && grid <= BayerGRBG;
}

/// Cells counted from (x, y): an odd origin swaps columns or rows against those of the whole image.
constexpr BayerCell cellFrom(ExBayerGrid grid, int x, int y) noexcept
{
    const int redColumn = grid == BayerBGGR || grid == BayerGRBG ? 1 : 0;
    const int redRow = grid == BayerBGGR || grid == BayerGBRG ? 1 : 0;
    return {redColumn ^ (x & 1), redRow ^ (y & 1)};
}

}  // namespace ko
