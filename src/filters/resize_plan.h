// The pass of Resize along a row, arranged for vectors of floats or doubles.
#pragma once

#include "filters/resize_axis.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace ko {

/// Results that one vector makes. Tap t of all of them lies in the vector that begins t pixels behind sum `from`.
template <class F>
struct ResizeGroup {
    static constexpr std::size_t mostLanes = 64 / sizeof(F);
    using Lane = std::conditional_t<sizeof(F) == 4, std::int32_t, std::int64_t>;

    alignas(64) F weights[3][mostLanes];  ///< of the first tap, and of those behind the inner ones
    alignas(64) Lane lanes[mostLanes];
    std::int64_t from;
    std::int64_t to;  ///< first result
};

template <class F>
struct ResizePlan {
    /// For rows of pixels of `channels` samples, and vectors of `lanes` values.
    ResizePlan(const ResizeAxis& axis, std::int64_t results, std::int64_t channels, std::int64_t lanes);

    /// Values behind the sums of a row that vectors read too. They have to be finite.
    std::int64_t slack() const noexcept
    {
        return (innerCount + endCount) * channels + static_cast<std::int64_t>(ResizeGroup<F>::mostLanes);
    }

    std::vector<ResizeGroup<F>> groups;
    std::int64_t samples;  ///< of a row of results
    std::int64_t channels;
    std::int64_t innerCount;  ///< taps of weight `inner` behind the first one
    std::int64_t endCount;
    F inner;
};

extern template struct ResizePlan<float>;
extern template struct ResizePlan<double>;

}  // namespace ko
