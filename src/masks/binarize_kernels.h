// Row kernels of Binarize.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One row: `width` samples of src into bytes of dst, which may be the same memory.
using BinarizeRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                             std::uint8_t value) noexcept;

using BinarizeKernels = PerSize<BinarizeRow>;

/// The kernels of the running processor.
const BinarizeKernels& binarizeKernels();

}  // namespace ko
