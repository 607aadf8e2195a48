// Where the colours of a mosaic lie, and the statements that the operations on mosaics share.
#pragma once

#include "base/checks.h"

#include <ko/image.h>

#include <algorithm>
#include <limits>

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

/// The region consists of whole cells, wherever they start.
inline bool hasEvenSize(const QRect& rect) noexcept
{
    return widthOf(rect) % 2 == 0 && heightOf(rect) % 2 == 0;
}

inline bool hasSize(const SxImageInfo& info, std::int64_t width, std::int64_t height) noexcept
{
    return info.width == width && info.height == height;
}

inline bool isFourPlanes(const SxImageInfo& info) noexcept
{
    return hasChannels(info, 4) && isPlanar(info);
}

/// 2^bits - 1 in a sample of type `T`, all ones where that is too wide.
template <class T>
T saturatedTop(int bitsPerSample) noexcept
{
    const int bits = std::clamp(bitsPerSample, 0, std::numeric_limits<T>::digits);
    return static_cast<T>((1U << bits) - 1U);
}

}  // namespace ko
