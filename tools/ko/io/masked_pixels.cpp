#include "io/masked_pixels.h"

#include <algorithm>

namespace ko::tool {

std::array<int, 4> dropped(const libraw_image_sizes_t& sizes, const std::uint16_t* samples,
                           std::ptrdiff_t pitch, const std::array<int, 4>& levels)
{
    std::array<std::int64_t, 4> sums{};
    std::array<std::int64_t, 4> counts{};
    for (const auto& [top, left, bottom, right] : sizes.mask)
        for (int y = std::max(top, 0); y < std::min<int>(bottom, sizes.raw_height); ++y)
            for (int x = std::max(left, 0); x < std::min<int>(right, sizes.raw_width); ++x) {
                const int row = (y - sizes.top_margin) & 1;
                const int column = (x - sizes.left_margin) & 1;
                const auto position = static_cast<std::size_t>(row * 2 + column);
                sums[position] += samples[y * pitch + x];
                ++counts[position];
            }
    std::array<int, 4> added{};
    for (std::size_t i = 0; i < added.size(); ++i)
        if (counts[i] > 0 && sums[i] / counts[i] == levels[i])
            added[i] = static_cast<int>((sums[i] + counts[i] / 2) / counts[i]) - levels[i];
    return added;
}

}  // namespace ko::tool
