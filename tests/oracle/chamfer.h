// Naive twin of the chamfer distance: two passes that push the value of every settled pixel to its
// neighbours.
#pragma once

#include "support/test_image.h"

#include <vector>

namespace ko::oracle {

struct ChamferEntry {
    int a, b, w;
};

inline std::vector<ChamferEntry> chamferEntries(int mask)
{
    switch (mask) {
    case 0:
        return {{1, 0, 1}, {1, 1, 1}};
    case 1:
        return {{1, 0, 3}, {1, 1, 4}};
    case 2:
        return {{1, 0, 5}, {1, 1, 7}, {2, 1, 11}};
    case 3:
        return {{1, 0, 14}, {1, 1, 20}, {2, 1, 31}, {3, 1, 44}};
    default:
        return {{1, 0, 68},  {1, 1, 96},  {2, 1, 152}, {3, 1, 215}, {3, 2, 245},
                {4, 1, 280}, {4, 3, 340}, {5, 1, 346}, {6, 1, 413}};
    }
}

inline void chamferDistance(const test::TestImage& src, test::TestImage& dst, int mask)
{
    const int w = src.buf().width, h = src.buf().height;
    const auto entries = chamferEntries(mask);
    const auto offer = [&](double value, int x, int y) {
        if (x < 0 || y < 0 || x >= w || y >= h)
            return;
        const double current = dst.get<double>(x, y);
        if (current >= 0 && value > current)
            return;
        dst.set<double>(x, y, value);
    };
    const auto push = [&](int x, int y, int sign) {
        const double d = dst.get<double>(x, y);
        if (d < 0)
            return;
        for (const auto& [a, b, weight] : entries) {
            offer(d + weight, x + sign * a, y + sign * b);
            if (b != 0)
                offer(d + weight, x - sign * a, y + sign * b);
            if (a != b) {
                offer(d + weight, x + sign * b, y + sign * a);
                if (b != 0)
                    offer(d + weight, x - sign * b, y + sign * a);
            }
        }
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            dst.set<double>(x, y, src.get<std::uint8_t>(x, y) != 0 ? 0.0 : -1.0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            push(x, y, 1);
    for (int y = h - 1; y >= 0; --y)
        for (int x = w - 1; x >= 0; --x)
            push(x, y, -1);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            dst.set<double>(x, y, dst.get<double>(x, y) / entries[0].w);
}

}  // namespace ko::oracle
