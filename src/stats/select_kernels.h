// Kernels that pick the samples a mask selects.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Copies the samples whose mask byte is not zero, in their order, to the front of `out`; returns how many.
/// `out` has room for `count` samples and may be `samples` itself.
using SelectRun = std::int64_t (*)(const std::uint8_t* samples, const std::uint8_t* mask, std::int64_t count,
                                   std::uint8_t* out) noexcept;

using SelectKernels = PerDepth<SelectRun>;

/// The kernels of the running processor.
const SelectKernels& selectKernels();

}  // namespace ko
