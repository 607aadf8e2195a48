#include "commands/spread.h"

#include "cli/failure.h"
#include "commands/filtering.h"
#include "io/parts.h"

#include <algorithm>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Mean of a region. `Mean` adds samples of 8 and 16 bits in 32 bits, so it gets bands that fit.
double meanOf(const Image& samples, const QRect& region)
{
    constexpr int mostPixels = 65537;  // of the brightest 16-bit samples
    const int width = std::min(region.width(), mostPixels);
    const int height = std::max(1, mostPixels / width);
    double sum = 0;
    for (int top = region.top(); top <= region.bottom(); top += height)
        for (int left = region.left(); left <= region.right(); left += width) {
            const QRect band = QRect(left, top, width, height).intersected(region);
            double mean = 0;
            require(Mean(*samples, band, &mean), "Mean");
            sum += mean * band.width() * band.height();
        }
    return sum / region.width() / region.height();
}

/// Where part `index` of `count` equal parts begins.
int edgeOf(int index, int count, int size)
{
    return static_cast<int>(std::int64_t{index} * size / count);
}

}  // namespace

std::vector<CellExtremes> extremesOfCells(const Image& picture, const QRect& region, int cellWidth,
                                          int cellHeight)
{
    requireMono(*picture);
    if (region.width() % cellWidth != 0 || region.height() % cellHeight != 0)
        throw std::runtime_error(std::to_string(region.width()) + " x " + std::to_string(region.height()) +
                                 " pixels do not consist of such cells");
    const auto count = static_cast<std::size_t>(cellWidth) * static_cast<std::size_t>(cellHeight);
    std::vector<QVariant> minimum(count), maximum(count);
    std::vector<QPoint> minimumAt(count), maximumAt(count);
    require(MinMaxMosaic(*cropOf(picture, region), cellWidth, cellHeight, minimum.data(), maximum.data(),
                         minimumAt.data(), maximumAt.data()),
            "MinMaxMosaic");
    std::vector<CellExtremes> cells;
    for (std::size_t i = 0; i < count; ++i) {
        const int index = static_cast<int>(i);
        cells.push_back({{index % cellWidth, index / cellWidth},
                         minimum[i],
                         maximum[i],
                         minimumAt[i] + region.topLeft(),
                         maximumAt[i] + region.topLeft()});
    }
    return cells;
}

TileMeans meansOfTiles(const Image& samples, int columns, int rows)
{
    if (columns > samples->width || rows > samples->height)
        throw std::runtime_error("has fewer pixels than tiles along a side");
    TileMeans tiles{columns, rows, {}};
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            tiles.means.push_back(meanOf(
                samples,
                QRect(QPoint(edgeOf(column, columns, samples->width), edgeOf(row, rows, samples->height)),
                      QPoint(edgeOf(column + 1, columns, samples->width) - 1,
                             edgeOf(row + 1, rows, samples->height) - 1))));
    return tiles;
}

}  // namespace ko::tool
