// Naive twins of the threshold operations.
#pragma once

#include "support/test_image.h"

#include <vector>

namespace ko::oracle {

/// The channels that an image's operation leaves out: the fourth of interleaved pixels under the rule.
inline bool leavesOut(const test::TestImage& image, int channel, bool fourChannelRule)
{
    return fourChannelRule && image.buf().packing == Interleaved && image.buf().channels == 4 && channel == 3;
}

template <class T, class Out>
void thresholdBinary(const test::TestImage& src, test::TestImage& dst, const std::vector<T>& thresholds,
                     const std::vector<Out>& lows, const std::vector<Out>& highs, bool fourChannelRule)
{
    src.forEachSample([&](int x, int y, int c) {
        if (c >= dst.buf().channels || leavesOut(src, c, fourChannelRule))
            return;
        const auto channel = static_cast<std::size_t>(c);
        dst.set<Out>(x, y, c, src.get<T>(x, y, c) > thresholds[channel] ? highs[channel] : lows[channel]);
    });
}

template <class T>
void thresholdGT(test::TestImage& image, const std::vector<T>& thresholds, const std::vector<T>& values,
                 bool fourChannelRule)
{
    image.forEachSample([&](int x, int y, int c) {
        if ((image.buf().packing == Planar && c > 0) || leavesOut(image, c, fourChannelRule))
            return;
        const auto channel = static_cast<std::size_t>(c);
        if (image.get<T>(x, y, c) <= thresholds[channel])
            image.set<T>(x, y, c, values[channel]);
    });
}

}  // namespace ko::oracle
