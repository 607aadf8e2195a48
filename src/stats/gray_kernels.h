// Row kernels that make gray samples from colours.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Samples lie `step` apart in every source row and together in `out`. Means are truncated.
struct GrayRows {
    /// The mean of three rows.
    void (*meanOfThree)(const std::uint8_t* const (&rows)[3], std::int64_t step, std::int64_t count,
                        std::uint8_t* out) noexcept;
    /// The mean of four rows.
    void (*meanOfFour)(const std::uint8_t* const (&rows)[4], std::int64_t count, std::uint8_t* out) noexcept;
    /// The mean of those of three rows whose mask byte is not zero; `any` tells where there are such.
    void (*meanOfSelected)(const std::uint8_t* const (&rows)[3], std::int64_t step,
                           const std::uint8_t* const (&masks)[3], std::int64_t count, std::uint8_t* out,
                           std::uint8_t* any) noexcept;
};

using GrayKernels = PerDepth<GrayRows>;

/// The kernels of the running processor.
const GrayKernels& grayKernels();

}  // namespace ko
