// Naive twin of the Sobel operator.
#pragma once

#include "support/test_image.h"

#include <cmath>

namespace ko::oracle {

template <class T>
void sobel(const test::TestImage& src, test::TestImage& dst)
{
    for (int y = 1; y + 1 < src.buf().height; ++y)
        for (int x = 1; x + 1 < src.buf().width; ++x) {
            const auto p = [&](int dx, int dy) { return static_cast<int>(src.get<T>(x + dx, y + dy)); };
            const int gx = (p(1, -1) + 2 * p(1, 0) + p(1, 1)) - (p(-1, -1) + 2 * p(-1, 0) + p(-1, 1));
            const int gy = (p(-1, 1) + 2 * p(0, 1) + p(1, 1)) - (p(-1, -1) + 2 * p(0, -1) + p(1, -1));
            const double dx = gx, dy = gy;
            dst.set<std::int32_t>(x, y, static_cast<std::int32_t>(std::sqrt(dx * dx + dy * dy)));
        }
}

}  // namespace ko::oracle
