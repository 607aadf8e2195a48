// Naive twin of Demosaic: every sample of the result traced back to the mosaic on its own.
#pragma once

#include "oracle/bayer.h"

#include <cmath>

namespace ko::oracle {

/// One colour of the mosaic at twice the density of its cells.
template <class T>
class DoubledColour {
public:
    /// `colour` is 'R', 'B', 'G' for the upper green of the cells or 'g' for the lower one.
    DoubledColour(const test::TestImage& src, const QRect& roi, ExBayerGrid grid, char colour)
        : m_src(src), m_roi(roi), m_grid(grid), m_colour(colour)
    {
    }

    /// Samples 2i and 2i + 1 lie a quarter and three quarters of the way from cell i - 1 to cell i.
    T at(int x, int y) const
    {
        const unsigned above = alongRow(x, y / 2 - 1), below = alongRow(x, y / 2);
        return static_cast<T>(y % 2 == 0 ? (3 * above + below) / 4 : (above + 3 * below) / 4);
    }

private:
    unsigned alongRow(int x, int row) const
    {
        const unsigned before = ofCell(x / 2 - 1, row), own = ofCell(x / 2, row);
        return x % 2 == 0 ? (3 * before + own) / 4 : (before + 3 * own) / 4;
    }
    unsigned ofCell(int column, int row) const
    {
        const auto cell = cellSamples<T>(m_src, m_roi.x() + 2 * std::max(column, 0),
                                         m_roi.y() + 2 * std::max(row, 0), m_grid);
        switch (m_colour) {
        case 'R':
            return cell.red;
        case 'B':
            return cell.blue;
        default:
            return cell.greens[m_colour == 'G' ? 0 : 1];
        }
    }

    const test::TestImage& m_src;
    QRect m_roi;
    ExBayerGrid m_grid;
    char m_colour;
};

template <class T>
T limitedToDepth(T sample, int bits)
{
    if (sizeof(T) == 1 && bits >= 8)
        return sample;
    if (bits >= 31)
        return static_cast<T>(0x7FFFFFFF);  // the limit wraps around
    const auto limit = static_cast<std::int64_t>(std::pow(2.0, bits));
    return sample >= limit ? static_cast<T>(limit - 1) : sample;
}

template <class T>
void demosaic(const test::TestImage& src, const QRect& roi, ExBayerGrid grid, test::TestImage& dst)
{
    const DoubledColour<T> red(src, roi, grid, 'R'), green1(src, roi, grid, 'G'), green2(src, roi, grid, 'g'),
        blue(src, roi, grid, 'B');
    const int bits = src.buf().bitsPerSample;
    const int containerBits = 8 * int(sizeof(T));
    for (int y = 0; y < roi.height(); ++y) {
        for (int x = 0; x < roi.width(); ++x) {
            const auto limited = [&](const DoubledColour<T>& colour) {
                return limitedToDepth<T>(colour.at(x, y), bits);
            };
            storePixel<T>(dst, x, y, {limited(red), {limited(green1), limited(green2)}, limited(blue)},
                          std::clamp(bits, 0, containerBits));
        }
    }
}

}  // namespace ko::oracle
