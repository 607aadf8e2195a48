// Row kernels of the Sobel operator.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Magnitudes of the pixels 1...width - 2 of the middle one of three rows, into Int32 samples of dst.
using SobelRow = void (*)(const std::uint8_t* above, const std::uint8_t* middle, const std::uint8_t* below,
                          std::uint8_t* dst, std::int64_t width) noexcept;

using SobelKernels = PerDepth<SobelRow>;

/// The kernels of the running processor.
const SobelKernels& sobelKernels();

}  // namespace ko
