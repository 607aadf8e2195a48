// Naive twin of Resize.
#pragma once

#include "support/test_image.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace ko::oracle {

/// The weight of every sample of an axis in one result, in whole numbers.
inline std::vector<std::int64_t> resizeWeights(std::int64_t length, std::int64_t wanted, std::int64_t result)
{
    std::vector<std::int64_t> weights(static_cast<std::size_t>(length));
    const auto add = [&](std::int64_t i, std::int64_t weight) {
        weights[static_cast<std::size_t>(std::clamp<std::int64_t>(i, 0, length - 1))] +=
            std::max<std::int64_t>(weight, 0);
    };
    if (wanted < length) {
        // Both axes are length * wanted long: what sample and result have in common.
        for (std::int64_t i = 0; i < length; ++i)
            add(i, std::min((i + 1) * wanted, (result + 1) * length) - std::max(i * wanted, result * length));
    } else {
        // Both axes are 2 * length * wanted long: how far their centres are apart. Samples beyond the edges
        // repeat those at the edges.
        for (std::int64_t i = -1; i <= length; ++i)
            add(i, 2 * wanted - std::abs((2 * result + 1) * length - (2 * i + 1) * wanted));
    }
    return weights;
}

template <class T>
void resize(const test::TestImage& src, test::TestImage& dst)
{
    for (int y = 0; y < dst.buf().height; ++y) {
        const auto down = resizeWeights(src.buf().height, dst.buf().height, y);
        for (int x = 0; x < dst.buf().width; ++x) {
            const auto across = resizeWeights(src.buf().width, dst.buf().width, x);
            for (int c = 0; c < dst.buf().channels; ++c) {
                std::int64_t sum = 0, weight = 0;
                for (int v = 0; v < src.buf().height; ++v)
                    for (int u = 0; u < src.buf().width; ++u) {
                        const std::int64_t w =
                            down[static_cast<std::size_t>(v)] * across[static_cast<std::size_t>(u)];
                        if (w == 0)
                            continue;
                        sum += w * src.get<T>(u, v, c);
                        weight += w;
                    }
                dst.set<T>(x, y, c, static_cast<T>((2 * sum + weight) / (2 * weight)));
            }
        }
    }
}

}  // namespace ko::oracle
