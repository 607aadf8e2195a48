// Row kernels of exact sums of samples and of their squares.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Rows of samples, `pitch` bytes apart.
struct SquareRows {
    const std::uint8_t* first;
    std::int64_t pitch;
    std::int64_t rows;
    std::int64_t samples;  ///< of each row
};

/// Adds the samples to sums[0] and their squares to sums[1].
using AddSquares = void (*)(const SquareRows& rows, std::uint64_t* sums) noexcept;

/// Brings samples that lie `step` apart together.
using GatherRow = void (*)(const std::uint8_t* row, std::int64_t step, std::int64_t samples,
                           std::uint8_t* out) noexcept;

/// The samples whose mask byte is not zero, 0 for the others; returns how many there are. `out` may be `row`.
using SelectRow = std::int64_t (*)(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t samples,
                                   std::uint8_t* out) noexcept;

struct SquareKernels {
    PerDepth<AddSquares> add;
    PerDepth<GatherRow> gather;
    PerDepth<SelectRow> select;
};

/// The kernels of the running processor.
const SquareKernels& squareKernels();

}  // namespace ko
