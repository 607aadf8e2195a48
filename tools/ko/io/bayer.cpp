#include "io/bayer.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace ko::tool {
namespace {

// By the value of ExBayerGrid.
constexpr std::array<std::string_view, 4> names{"BGGR", "RGGB", "GBRG", "GRBG"};

}  // namespace

std::string gridName(ExBayerGrid grid)
{
    return std::string(names.at(static_cast<std::size_t>(grid)));
}

std::optional<ExBayerGrid> gridOfName(std::string_view name)
{
    const auto sameLetter = [](char a, char b) { return a == std::toupper(static_cast<unsigned char>(b)); };
    for (std::size_t grid = 0; grid < names.size(); ++grid)
        if (std::ranges::equal(names[grid], name, sameLetter))
            return static_cast<ExBayerGrid>(grid);
    return std::nullopt;
}

int colourAt(ExBayerGrid grid, std::int64_t x, std::int64_t y)
{
    const char colour = names.at(static_cast<std::size_t>(grid))[static_cast<std::size_t>(y % 2 * 2 + x % 2)];
    return colour == 'R' ? 0 : colour == 'G' ? 1 : 2;
}

ExBayerGrid gridAt(ExBayerGrid grid, int x, int y)
{
    if (grid == BayerNone)
        return grid;
    // An odd column swaps the columns of the cell, an odd row its rows.
    return static_cast<ExBayerGrid>(grid ^ ((x & 1) != 0 ? 2 : 0) ^ ((y & 1) != 0 ? 3 : 0));
}

Settings::Words gridWords()
{
    return {{"rggb", BayerRGGB}, {"bggr", BayerBGGR}, {"gbrg", BayerGBRG}, {"grbg", BayerGRBG}};
}

}  // namespace ko::tool
