// Row kernels of AverageImage.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Where the rows of a frame's region, or of one plane of it, are.
struct FrameRows {
    const std::uint8_t* first;
    std::int64_t stride;
};

/// Row `y` of all frames: sums that wrap at 32 bits, divided by the count and truncated. dst may be the
/// memory of a frame's own row.
using AverageRow = void (*)(const FrameRows* frames, std::int64_t count, std::int64_t y, std::uint8_t* dst,
                            std::int64_t samples) noexcept;

using AverageKernels = PerUnsigned<AverageRow>;

/// The kernels of the running processor.
const AverageKernels& averageKernels();

}  // namespace ko
