// Naive twin of the joint histograms.
#pragma once

#include "oracle/histogram.h"

#include <map>
#include <tuple>

namespace ko::oracle {

/// Counts by plane, row and column.
using PairCounts = std::map<std::tuple<int, int, int>, int>;

/// A channel of each image over the selected pixels into a plane.
inline void jointHistogram(const test::TestImage& first, int firstChannel, const test::TestImage& second,
                           int secondChannel, const Selects& selects, int plane, PairCounts& counts)
{
    for (int y = 0; y < first.buf().height; ++y)
        for (int x = 0; x < first.buf().width; ++x)
            if (selects(x, y))
                ++counts[{plane, int(sampleOf(second, x, y, secondChannel)),
                          int(sampleOf(first, x, y, firstChannel))}];
}

/// Whether channel c of pixel x is selected by byte x * channels + c of the mask's row, up to the end of the
/// mask's memory.
inline Selects bySample(const test::TestImage& mask, int channels, int channel)
{
    return [&mask, channels, channel](int x, int y) {
        const SxImageBuf& buf = mask.buf();
        const int at = y * buf.stride + x * channels + channel;
        return at < buf.stride * buf.height && buf.data[at] != 0;
    };
}

/// Everything counted, without rows that the histogram does not have.
inline PairCounts withRowsBelow(const PairCounts& counts, int rows)
{
    PairCounts kept;
    for (const auto& [place, count] : counts) {
        if (std::get<1>(place) < rows)
            kept[place] = count;
    }
    return kept;
}

inline PairCounts withColumnsBelow(const PairCounts& counts, int columns)
{
    PairCounts kept;
    for (const auto& [place, count] : counts) {
        if (std::get<2>(place) < columns)
            kept[place] = count;
    }
    return kept;
}

inline PairCounts contents(CxImageHistogramSparse2D& hist)
{
    PairCounts counts;
    for (int plane = 0; plane < hist.planes(); ++plane)
        for (int row = 0; row < hist[plane].rowCount(); ++row)
            for (const auto& [column, count] : hist[plane].rows()[row])
                counts[{plane, row, column}] = count;
    return counts;
}

inline PairCounts contents(const CxImageHistogram2D& hist)
{
    PairCounts counts;
    for (int plane = 0; plane < hist.planes(); ++plane)
        for (int row = 0; row < hist.levels(); ++row)
            for (int column = 0; column < hist.levels(); ++column)
                if (hist[plane][row][column] != 0)
                    counts[{plane, row, column}] = hist[plane][row][column];
    return counts;
}

}  // namespace ko::oracle
