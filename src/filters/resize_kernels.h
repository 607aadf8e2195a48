// Row kernels of Resize.
#pragma once

#include "base/kernel_tables.h"
#include "filters/resize_plan.h"

#include <cstddef>
#include <cstdint>

namespace ko {

/// The rows behind one row of results.
struct ResizeRows {
    const std::uint8_t* first;
    std::int64_t stride;
    std::int64_t count;
    double firstWeight, inner, lastWeight;
};

/// sums[x] = the weighted sum of sample x of all rows.
using ResizeAcross = void (*)(const ResizeRows& rows, double* sums, std::int64_t samples) noexcept;

/// The weighted sums of the sums along the row, times `scale`, the reciprocal of the sum of all weights, rounded.
/// `resizeSlack` finite values follow the sums.
using ResizeAlong = void (*)(const double* sums, const ResizePlan& plan, std::uint8_t* dst, double half,
                             double scale) noexcept;

struct ResizePasses {
    ResizeAcross across;
    ResizeAlong along;
    std::size_t lanes;  ///< that a plan is for
};

using ResizeKernels = PerDepth<ResizePasses>;

/// The kernels of the running processor.
const ResizeKernels& resizeKernels();

}  // namespace ko
