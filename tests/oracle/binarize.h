// Naive twin of Binarize.
#pragma once

#include "support/test_image.h"

namespace ko::oracle {

template <class T>
void binarize(const test::TestImage& src, test::TestImage& dst, std::uint8_t value)
{
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            dst.set<std::uint8_t>(x, y, src.get<T>(x, y) != T(0) ? value : std::uint8_t(0));
}

}  // namespace ko::oracle
