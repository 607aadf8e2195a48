// Value ranges of the channels of an image, or of the cell positions of a mosaic.
#pragma once

#include <ko/convert.h>

#include "base/checks.h"
#include "base/values.h"

#include <QVariant>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

namespace ko {

inline constexpr int cellPositions = 4;

/// A kind of normalisation that exists.
inline bool isNormalization(NormalizationType normalization) noexcept
{
    return normalization == NormalizeSeparate || normalization == NormalizeJoint;
}

template <class T>
struct Ranges {
    std::vector<T> low;
    std::vector<T> high;

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

/// Takes `count` ranges from `extremes(min, max)`, one of the operations that find them; none where it fails.
/// There is room for the positions of a mosaic, whatever the count.
template <class T, class Extremes>
bool measure(Ranges<T>& ranges, int count, const Extremes& extremes)
{
    const auto room = static_cast<std::size_t>(std::max(count, cellPositions));
    std::vector<QVariant> min(room), max(room);
    if (isFailure(extremes(min.data(), max.data())))
        return false;
    const int results = std::max(count, 0);
    ranges.low.resize(static_cast<std::size_t>(results));
    ranges.high.resize(static_cast<std::size_t>(results));
    std::transform(min.begin(), min.begin() + results, ranges.low.begin(), &plainValue<T>);
    std::transform(max.begin(), max.begin() + results, ranges.high.begin(), &plainValue<T>);
    return true;
}

}  // namespace ko
