#include "commands/balance.h"

#include "cli/failure.h"
#include "io/bayer.h"

#include <algorithm>
#include <array>

namespace ko::tool {
namespace {

/// More than this between two colours is no light that a camera is used in.
constexpr double greatestRatio = 16;

/// More than this between the greens comes from the scene.
constexpr double greatestGreenRatio = 1.1;

/// Which of the gains is that of a position of the cell, in raster order, or of a channel; the first of samples without
/// colours.
std::size_t gainAt(const SxImageInfo& mosaic, std::size_t position)
{
    if (mosaic.channels == 3)
        return position;
    if (mosaic.bayerGrid == BayerNone)
        return 0;
    const auto x = static_cast<std::int64_t>(position % 2);
    const auto y = static_cast<std::int64_t>(position / 2);
    const int colour = colourAt(mosaic.bayerGrid, x, y);
    const bool isInRowOfBlue = colourAt(mosaic.bayerGrid, x + 1, y) == 2;
    return colour == 1 && isInRowOfBlue ? 3 : static_cast<std::size_t>(colour);
}

const std::uint16_t* rowOf(const SxImageBuf& mosaic, std::int64_t y)
{
    return reinterpret_cast<const std::uint16_t*>(mosaic.data + y * mosaic.stride);
}

/// Adds the light of samples that belong together, unless one of them is clipped.
template <std::size_t Count>
void add(const std::array<int, Count>& samples, Levels levels, std::array<std::int64_t, 4>& sums)
{
    if (std::ranges::max(samples) >= levels.white)
        return;
    for (std::size_t i = 0; i < Count; ++i)
        sums[i] += std::max(samples[i] - levels.black, 0);
}

/// The light of the positions of the cell.
std::array<std::int64_t, 4> sumsOfCells(const SxImageBuf& mosaic, Levels levels)
{
    std::array<std::int64_t, 4> sums{};
    for (int y = 0; y + 1 < mosaic.height; y += 2)
        for (int x = 0; x + 1 < mosaic.width; x += 2) {
            const std::uint16_t* const upper = rowOf(mosaic, y) + x;
            const std::uint16_t* const lower = rowOf(mosaic, y + 1) + x;
            add(std::array{int{upper[0]}, int{upper[1]}, int{lower[0]}, int{lower[1]}}, levels, sums);
        }
    return sums;
}

/// The light of three channels, and that of the second one once more.
std::array<std::int64_t, 4> sumsOfChannels(const SxImageBuf& picture, Levels levels)
{
    std::array<std::int64_t, 4> sums{};
    for (int y = 0; y < picture.height; ++y) {
        const std::uint16_t* const row = rowOf(picture, y);
        for (const std::uint16_t* pixel = row; pixel < row + 3 * std::int64_t{picture.width}; pixel += 3)
            add(std::array{int{pixel[0]}, int{pixel[1]}, int{pixel[2]}}, levels, sums);
    }
    sums[3] = sums[1];
    return sums;
}

}  // namespace

Gains grayWorldGains(const SxImageBuf& picture, Levels levels)
{
    const std::array<std::int64_t, 4> sums =
        picture.channels == 3 ? sumsOfChannels(picture, levels) : sumsOfCells(picture, levels);
    Gains means{};
    for (std::size_t i = 0; i < sums.size(); ++i)
        means[gainAt(picture, i)] = static_cast<double>(sums[i]);
    const double green = (means[1] + means[3]) / 2;
    const auto [fewer, more] = std::minmax(means[1], means[3]);
    if (more > greatestGreenRatio * fewer)
        means[1] = means[3] = green;
    if (std::ranges::min(means) <= 0)
        return {1, 1, 1, 1};  // nothing to go by
    Gains gains{};
    for (std::size_t c = 0; c < gains.size(); ++c)
        gains[c] = std::clamp(green / means[c], 1 / greatestRatio, greatestRatio);
    return gains;
}

std::vector<double> gainsByPlace(const SxImageInfo& format, const Gains& gains)
{
    std::vector<double> result(format.bayerGrid != BayerNone ? 4 : static_cast<std::size_t>(format.channels));
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = gains[gainAt(format, i)];
    return result;
}

Image balanced(const SxImageBuf& picture, Levels levels, const Gains& gains)
{
    constexpr double greatest = 65535;
    const double unit = greatest / (levels.white - levels.black) / std::ranges::min(gains);
    std::vector<double> cellGains = gainsByPlace(picture, gains);
    for (double& gain : cellGains)
        gain = std::min(gain * unit, greatest);
    const std::array<int, 4> blacks{levels.black, levels.black, levels.black, levels.black};
    SxImageInfo format = picture;
    format.bitsPerSample = 16;
    Image result(format);
    require(WhiteBalance(picture, *result, cellGains.data(), blacks.data()), "WhiteBalance");
    return result;
}

}  // namespace ko::tool
