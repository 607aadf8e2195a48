// Row kernels of ClampToColorDepth.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One row: where a sample, read as a signed 32-bit number, reaches `limit`, it becomes limit - 1.
using ClampRow = void (*)(std::uint8_t* row, std::int64_t samples, std::int32_t limit) noexcept;

using ClampKernels = PerIntegerSize<ClampRow>;

/// The kernels of the running processor.
const ClampKernels& clampKernels();

}  // namespace ko
