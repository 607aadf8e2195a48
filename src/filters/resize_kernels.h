// Row kernels of Resize for any ratio, on floats or doubles.
#pragma once

#include "base/kernel_tables.h"
#include "filters/resize_plan.h"

#include <cstdint>

namespace ko {

/// The rows behind one row of results.
template <class F>
struct ResizeSource {
    const std::uint8_t* first;
    std::int64_t stride;
    std::int64_t count;
    F firstWeight, inner, lastWeight;
};

/// Rows of sums with `plan.slack()` values behind each, and the rows of results that they become.
template <class F>
struct ResizeRows {
    const F* sums;
    std::int64_t pitch;  ///< values from a row of sums to the next
    std::uint8_t* dst;
    std::int64_t stride;
    std::int64_t count;
};

/// A weighted sum becomes (sum + offset) * scale, truncated.
struct ResizeScale {
    double offset, scale;
    double
        certain;  ///< where floats are checked: how far sum * scale may be from the whole number that it tells
};

template <class F>
struct ResizePasses {
    /// sums[x] = the weighted sum of sample x of all rows.
    void (*across)(const ResizeSource<F>& rows, F* sums, std::int64_t samples) noexcept;
    /// Results from the weighted sums of the sums along each row.
    void (*along)(const ResizeRows<F>& rows, const ResizePlan<F>& plan, const ResizeScale& scale) noexcept;
    std::int64_t lanes;  ///< that a plan is for
};

struct ResizeByPrecision {
    ResizePasses<float> floats;
    ResizePasses<double> doubles;
};

struct ResizeOfBytes : ResizeByPrecision {
    /// Floats, which nearly always tell the result, and doubles where they do not.
    ResizePasses<float> checkedFloats;
};

using ResizeKernels = PerDepth<ResizeOfBytes, ResizeByPrecision>;

/// The kernels of the running processor.
const ResizeKernels& resizeKernels();

}  // namespace ko
