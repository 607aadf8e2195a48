// Naive twins of the minimum and maximum operations.
#pragma once

#include "support/test_image.h"

#include <QPoint>

#include <limits>

namespace ko::oracle {

template <class T>
struct Extreme {
    T low = std::numeric_limits<T>::max();
    T high = std::numeric_limits<T>::lowest();
    QPoint lowAt{0, 0};
    QPoint highAt{0, 0};

    void take(T sample, int x, int y)
    {
        if (sample < low) {
            low = sample;
            lowAt = QPoint(x, y);
        }
        if (sample > high) {
            high = sample;
            highAt = QPoint(x, y);
        }
    }
};

/// One channel, where the mask (if any) is not zero.
template <class T>
Extreme<T> channelExtreme(const test::TestImage& src, int channel, const test::TestImage* mask)
{
    Extreme<T> extreme;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (mask == nullptr || mask->get<std::uint8_t>(x, y) != 0)
                extreme.take(src.get<T>(x, y, channel), x, y);
    return extreme;
}

/// One position of the cell.
template <class T>
Extreme<T> cellExtreme(const test::TestImage& src, int cellWidth, int cellHeight, int position)
{
    Extreme<T> extreme;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (x % cellWidth + y % cellHeight * cellWidth == position)
                extreme.take(src.get<T>(x, y), x, y);
    return extreme;
}

}  // namespace ko::oracle
