// Naive twin of the mirrored border: where each pixel of the enlarged image comes from.
#pragma once

#include "support/test_image.h"

#include <algorithm>
#include <cstring>

namespace ko::oracle {

/// Coordinate of the region that position `i` (0 is the region's first) shows; the edge pixel is repeated.
inline int mirrored(int i, int extent)
{
    if (i < 0)
        return -1 - i;
    return i >= extent ? 2 * extent - 1 - i : i;
}

inline void mirrorBorder(const test::TestImage& src, const QRect& roi, test::TestImage& dst, int left,
                         int top)
{
    const auto size = static_cast<std::size_t>(bytesPerSample(src.buf().dataType));
    dst.forEachSample([&](int x, int y, int c) {
        const int sx = roi.x() + mirrored(x - left, roi.width());
        const int sy = roi.y() + mirrored(y - top, roi.height());
        std::memcpy(dst.sample(x, y, c), src.sample(sx, sy, c), size);
    });
}

}  // namespace ko::oracle
