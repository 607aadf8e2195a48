// Naive twins of the Bayer helpers.
#pragma once

#include "support/test_image.h"

#include <QRect>

#include <algorithm>
#include <cstdint>

namespace ko::oracle {

/// 'R', 'G' or 'B' at a position of the whole image.
inline char bayerColour(ExBayerGrid grid, int x, int y)
{
    constexpr const char* cells[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
    return cells[grid][2 * (y % 2) + x % 2];
}

/// Samples of one cell in the order red, first green, blue, second green.
template <class T>
struct CellSamples {
    T red{}, greens[2]{}, blue{};
};

template <class T>
CellSamples<T> cellSamples(const test::TestImage& src, int left, int top, ExBayerGrid grid)
{
    CellSamples<T> cell;
    int greens = 0;
    for (int y = top; y < top + 2; ++y) {
        for (int x = left; x < left + 2; ++x) {
            const T sample = src.get<T>(x, y);
            switch (bayerColour(grid, x, y)) {
            case 'R':
                cell.red = sample;
                break;
            case 'B':
                cell.blue = sample;
                break;
            default:
                cell.greens[greens++] = sample;
            }
        }
    }
    return cell;
}

template <class T>
void rawToPlanes(const test::TestImage& src, const QRect& roi, ExBayerGrid grid, test::TestImage& planar)
{
    for (int y = 0; y < roi.height() / 2; ++y) {
        for (int x = 0; x < roi.width() / 2; ++x) {
            const auto cell = cellSamples<T>(src, roi.x() + 2 * x, roi.y() + 2 * y, grid);
            planar.set<T>(x, y, 0, cell.red);
            planar.set<T>(x, y, 1, cell.greens[0]);
            planar.set<T>(x, y, 2, cell.blue);
            planar.set<T>(x, y, 3, cell.greens[1]);
        }
    }
}

template <class T>
void storePixel(test::TestImage& dst, int x, int y, const CellSamples<T>& cell, int bits)
{
    dst.set<T>(x, y, 0, cell.red);
    dst.set<T>(x, y, 1, static_cast<T>((cell.greens[0] + cell.greens[1]) / 2));
    dst.set<T>(x, y, 2, cell.blue);
    if (dst.buf().channels == 4)
        dst.set<T>(x, y, 3, static_cast<T>((std::int64_t{1} << bits) - 1));
}

template <class T>
void simpleFromMosaic(const test::TestImage& src, const QRect& rect, test::TestImage& dst, ExBayerGrid grid)
{
    for (int y = 0; y < rect.height() / 2; ++y)
        for (int x = 0; x < rect.width() / 2; ++x)
            storePixel(dst, x, y, cellSamples<T>(src, rect.x() + 2 * x, rect.y() + 2 * y, grid),
                       src.buf().bitsPerSample);
}

template <class T>
void simpleFromPlanes(const test::TestImage& src, const QRect& rect, test::TestImage& dst)
{
    for (int y = 0; y < rect.height(); ++y) {
        for (int x = 0; x < rect.width(); ++x) {
            const auto plane = [&](int p) { return src.get<T>(rect.x() + x, rect.y() + y, p); };
            storePixel(dst, x, y, CellSamples<T>{plane(0), {plane(1), plane(3)}, plane(2)},
                       src.buf().bitsPerSample);
        }
    }
}

}  // namespace ko::oracle
