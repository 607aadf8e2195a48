// Figures of the parts of a picture: cells and tiles.
#pragma once

#include "io/image.h"

#include <QPoint>
#include <QRect>
#include <QVariant>

#include <vector>

namespace ko::tool {

/// The extremes of one position of a repeated cell, and where they stand first.
struct CellExtremes {
    QPoint position;  ///< in the cell
    QVariant minimum, maximum;
    QPoint minimumAt, maximumAt;
};

/// The positions of cells in raster order. Throws unless the picture is mono and its region consists of whole
/// cells.
std::vector<CellExtremes> extremesOfCells(const Image& picture, const QRect& region, int cellWidth,
                                          int cellHeight);

struct TileMeans {
    int columns, rows;
    std::vector<double> means;  ///< row by row

    double at(int column, int row) const
    {
        return means[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                     static_cast<std::size_t>(column)];
    }
};

/// Means of a mono image's tiles, which are as equal as the size allows. Throws where there are more tiles
/// than pixels along a side.
TileMeans meansOfTiles(const Image& samples, int columns, int rows);

}  // namespace ko::tool
