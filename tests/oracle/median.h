// Naive twin of Median.
#pragma once

#include "support/test_image.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ko::oracle {

/// Gathers the window of one sample.
template <class T>
T medianAt(const test::TestImage& src, int radius, int x, int y, int channel)
{
    const SxImageBuf& image = src.buf();
    const auto most = static_cast<std::uint32_t>((1ULL << image.bitsPerSample) - 1);
    std::vector<std::uint32_t> window;
    for (int v = std::max(0, y - radius); v <= std::min(image.height - 1, y + radius); ++v)
        for (int u = std::max(0, x - radius); u <= std::min(image.width - 1, x + radius); ++u)
            window.push_back(std::min<std::uint32_t>(src.get<T>(u, v, channel), most));
    const auto middle = window.begin() + static_cast<std::ptrdiff_t>((window.size() + 1) / 2 - 1);
    std::nth_element(window.begin(), middle, window.end());
    return static_cast<T>(*middle);
}

template <class T>
void median(const test::TestImage& src, test::TestImage& dst, int radius)
{
    dst.forEachSample([&](int x, int y, int c) { dst.set<T>(x, y, c, medianAt<T>(src, radius, x, y, c)); });
}

}  // namespace ko::oracle
