#include "commands/balance.h"

#include "cli/failure.h"
#include "io/bayer.h"

#include <algorithm>
#include <array>

namespace ko::tool {
namespace {

/// More than this between two colours is no light that a camera is used in.
constexpr double greatestRatio = 16;

/// The colour of a position of the cell, in raster order; the first of samples without colours.
std::size_t colourOf(const SxImageBuf& mosaic, std::size_t position)
{
    if (mosaic.bayerGrid == BayerNone)
        return 0;
    return static_cast<std::size_t>(colourAt(mosaic.bayerGrid, static_cast<std::int64_t>(position % 2),
                                             static_cast<std::int64_t>(position / 2)));
}

const std::uint16_t* rowOf(const SxImageBuf& mosaic, std::int64_t y)
{
    return reinterpret_cast<const std::uint16_t*>(mosaic.data + y * mosaic.stride);
}

}  // namespace

Colour grayWorldGains(const SxImageBuf& mosaic, Levels levels)
{
    std::array<std::int64_t, 4> sums{};
    for (int y = 0; y + 1 < mosaic.height; y += 2)
        for (int x = 0; x + 1 < mosaic.width; x += 2) {
            const std::uint16_t* const upper = rowOf(mosaic, y) + x;
            const std::uint16_t* const lower = rowOf(mosaic, y + 1) + x;
            const std::array cell{int{upper[0]}, int{upper[1]}, int{lower[0]}, int{lower[1]}};
            if (std::ranges::max(cell) >= levels.white)
                continue;
            for (std::size_t i = 0; i < cell.size(); ++i)
                sums[i] += std::max(cell[i] - levels.black, 0);
        }
    Colour means{};
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const std::size_t colour = colourOf(mosaic, i);
        means[colour] += static_cast<double>(sums[i]) / (colour == 1 ? 2 : 1);
    }
    if (std::ranges::min(means) <= 0)
        return {1, 1, 1};  // nothing to go by
    Colour gains{};
    for (std::size_t c = 0; c < 3; ++c)
        gains[c] = std::clamp(means[1] / means[c], 1 / greatestRatio, greatestRatio);
    return gains;
}

Image balanced(const SxImageBuf& mosaic, Levels levels, const Colour& gains)
{
    constexpr double greatest = 65535;
    const double unit = greatest / (levels.white - levels.black) / std::ranges::min(gains);
    std::array<double, 4> cellGains{};
    for (std::size_t i = 0; i < cellGains.size(); ++i)
        cellGains[i] = std::min(gains[colourOf(mosaic, i)] * unit, greatest);
    const std::array<int, 4> blacks{levels.black, levels.black, levels.black, levels.black};
    SxImageInfo format = mosaic;
    format.bitsPerSample = 16;
    Image result(format);
    require(WhiteBalance(mosaic, *result, cellGains.data(), blacks.data()), "WhiteBalance");
    return result;
}

}  // namespace ko::tool
