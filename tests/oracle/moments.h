// Naive twin of the moments.
#pragma once

#include "support/test_image.h"

#include <ko/stats/moments.h>

namespace ko::oracle {

/// One channel; `mask` null: all pixels.
template <class T>
SxMoments moments(const test::TestImage& src, const test::TestImage* mask, int channel)
{
    SxMoments found;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (mask == nullptr || mask->get<std::uint8_t>(x, y) != 0) {
                const std::uint64_t sample = src.get<T>(x, y, channel);
                found.count += 1;
                found.sum += sample;
                found.squares += sample * sample;
            }
    return found;
}

}  // namespace ko::oracle
