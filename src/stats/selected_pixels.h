// Sums over the pixels that a mask selects, one by one in double, each rounded after each addition.
#pragma once

#include "base/image_view.h"
#include "stats/mask_groups.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Calls `visit(x, isSelected)` for the pixels of a row in order, but for groups of which none is selected.
/// Inlined, so that sums stay in registers.
template <class Visit>
[[gnu::always_inline]] inline void forEachNearSelected(const std::uint8_t* mask, std::int64_t width,
                                                       const Visit& visit)
{
    for (std::int64_t first = 0; first < width; first += maskGroupSize) {
        const std::int64_t end = std::min(first + maskGroupSize, width);
        const MaskGroup group = end - first == maskGroupSize ? maskGroupAt(mask + first) : MaskGroup::Some;
        if (group == MaskGroup::None)
            continue;
        for (std::int64_t x = first; group == MaskGroup::All && x < end; ++x)
            visit(x, true);
        for (std::int64_t x = first; group == MaskGroup::Some && x < end; ++x)
            visit(x, mask[x] != 0);
    }
}

/// What a pixel adds to a sum: nothing, not even where it is not a number, if it is not selected. No sum that starts at 0
/// is ever -0, so that adding 0 changes none.
inline double addend(double value, bool isSelected)
{
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) & (0U - std::uint64_t{isSelected}));
}

/// Adds the selected samples of a row of interleaved channels, each sum rounded after each addition, and behind the sums
/// the number of selected pixels. Where the compiler knows how many there are, they stay in registers.
template <class T, class Sums>
[[gnu::always_inline]] inline void addSamples(const std::uint8_t* row, const std::uint8_t* mask,
                                              std::int64_t width, Sums& sums)
{
    const std::size_t channels = sums.size() - 1;
    std::int64_t count = 0;
    forEachNearSelected(mask, width, [&](std::int64_t x, bool isSelected) {
        const std::int64_t first = x * static_cast<std::int64_t>(channels);
        for (std::size_t c = 0; c < channels; ++c) {
            const T sample = loadSample<T>(row, first + static_cast<std::int64_t>(c));
            sums[c] += addend(static_cast<double>(sample), isSelected);
        }
        count += isSelected ? 1 : 0;
    });
    sums[channels] += static_cast<double>(count);
}

/// Such sums over all rows. `sums` has room for them.
template <class T, class Sums>
Sums wideSums(const SxImageBuf& src, const SxImageBuf& mask, Sums sums)
{
    for (std::int64_t y = 0; y < src.height; ++y)
        addSamples<T>(rowOf(src, y), rowOf(mask, y), src.width, sums);
    return sums;
}

}  // namespace ko
