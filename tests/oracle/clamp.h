// Naive twin of ClampToColorDepth.
#pragma once

#include "support/test_image.h"

#include <cstdint>

namespace ko::oracle {

inline std::int64_t clampLimit(int bits)
{
    if (bits >= 31)
        return -2147483648LL;
    return bits < 0 ? 0 : 1LL << bits;
}

template <class T>
void clampToColorDepth(test::TestImage& image)
{
    const int bits = image.buf().bitsPerSample;
    if (sizeof(T) == 1 && bits >= 8)
        return;
    const std::int64_t limit = clampLimit(bits);
    const std::int64_t top = limit == -2147483648LL ? 2147483647LL : limit - 1;
    image.forEachSample([&](int x, int y, int c) {
        std::int64_t compared = static_cast<std::int64_t>(image.get<T>(x, y, c) & 0xFFFFFFFFU);
        if (compared >= 2147483648LL)
            compared -= 4294967296LL;
        if (compared >= limit)
            image.set<T>(x, y, c, static_cast<T>(top));
    });
}

}  // namespace ko::oracle
