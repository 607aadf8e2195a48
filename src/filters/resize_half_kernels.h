// Row kernel of Resize to half the size both ways: means of four samples.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One row of `pixels` results from the two rows of twice as many pixels behind it.
using ResizeHalfRow = void (*)(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst,
                               std::int64_t pixels, int channels) noexcept;

using ResizeHalfKernels = PerDepth<ResizeHalfRow>;

/// Most channels that the kernels are built for.
inline constexpr int resizeHalfChannels = 4;

/// The kernels of the running processor.
const ResizeHalfKernels& resizeHalfKernels();

}  // namespace ko
