// Kernels that pick the samples a mask selects, and that give every sample of a pixel the pixel's mask byte.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Copies the samples whose mask byte is not zero, in their order, to the front of `out`; returns how many.
/// `out` has room for `count` samples and may be `samples` itself.
using SelectRun = std::int64_t (*)(const std::uint8_t* samples, const std::uint8_t* mask, std::int64_t count,
                                   std::uint8_t* out) noexcept;

/// Writes each of the mask's bytes `channels` times.
using SpreadMask = void (*)(const std::uint8_t* mask, std::int64_t pixels, std::int64_t channels,
                            std::uint8_t* out) noexcept;

struct SelectKernels {
    PerDepth<SelectRun> select;
    SpreadMask spread;
};

/// The kernels of the running processor.
const SelectKernels& selectKernels();

}  // namespace ko
