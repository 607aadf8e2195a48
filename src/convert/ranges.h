// Value ranges of the channels of an image, or of the cell positions of a mosaic.
#pragma once

#include <ko/convert.h>

#include "stats/extremes.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

namespace ko {

/// A kind of normalisation that exists.
inline bool isNormalization(NormalizationType normalization) noexcept
{
    return normalization == NormalizeSeparate || normalization == NormalizeJoint;
}

template <class T>
struct Ranges {
    std::vector<T> low;
    std::vector<T> high;

    Ranges() = default;
    template <class Sample>
    explicit Ranges(const Extremes<Sample>& extremes)
        : low(extremes.low.begin(), extremes.low.end()), high(extremes.high.begin(), extremes.high.end())
    {
    }

    std::size_t count() const noexcept { return low.size(); }

    /// Gives all of them the range that spans all of them.
    void join()
    {
        const T least = std::accumulate(low.begin(), low.end(), std::numeric_limits<T>::max(),
                                        [](T a, T b) { return std::min(a, b); });
        const T greatest = std::accumulate(high.begin(), high.end(), std::numeric_limits<T>::lowest(),
                                           [](T a, T b) { return std::max(a, b); });
        std::fill(low.begin(), low.end(), least);
        std::fill(high.begin(), high.end(), greatest);
    }

    /// Shares the ranges as the caller wants them; false for a kind of normalisation that does not exist.
    bool normalize(NormalizationType normalization)
    {
        if (normalization == NormalizeJoint)
            join();
        return isNormalization(normalization);
    }

    template <class Out>
    void report(Out* min, Out* max) const
    {
        if (min != nullptr)
            std::transform(low.begin(), low.end(), min, [](T value) { return static_cast<Out>(value); });
        if (max != nullptr)
            std::transform(high.begin(), high.end(), max, [](T value) { return static_cast<Out>(value); });
    }
};

}  // namespace ko
