// Row kernels of accumulators.
#pragma once

#include "base/kernel_tables.h"

#include <array>
#include <cstdint>

namespace ko {

/// Frames that are read at the same time. More of them would evict each other's lines, since frames often lie
/// a power of two apart.
inline constexpr int accumulatedAtOnce = 8;

/// The same row of a few frames and, where they have any, of their masks, which have `1 / channels` as many bytes
/// as the frames have samples.
struct FrameRowGroup {
    std::int64_t count = 0;
    bool hasMasks = false;
    std::int64_t channels = 1;
    std::array<const std::uint8_t*, accumulatedAtOnce> rows{};
    std::array<const std::uint8_t*, accumulatedAtOnce> masks{};
};

/// A row of every plane; null where an accumulator has no such plane.
struct AccumulatorRow {
    std::uint8_t* sum;
    std::uint8_t* squares;
    std::uint8_t* minimum;
    std::uint8_t* maximum;
    std::uint8_t* above;
    std::uint8_t* counts;
    std::uint32_t level;
};

using AccumulateRow = void (*)(const FrameRowGroup& frames, std::int64_t samples,
                               const AccumulatorRow& sums) noexcept;

/// Takes the samples of one plane's row into another's.
using MergeRow = void (*)(const std::uint8_t* from, std::uint8_t* into, std::int64_t samples) noexcept;

/// Some samples of an accumulator; `counts` is null where all samples have seen every frame.
struct VarianceBlock {
    const std::uint8_t* sum;
    const std::uint8_t* squares;
    const std::uint8_t* counts;
    std::uint32_t frames;
    double ddof;
};

/// The variances of a block. False, with nothing written, where it holds numbers too large for this way.
using BlockVariance = bool (*)(const VarianceBlock& block, std::int64_t samples, double* variances) noexcept;

struct AccumulateKernels {
    PerDepth<AccumulateRow> accumulate;
    MergeRow addCounts;  ///< of 32 bits
    MergeRow addSums;    ///< of 64 bits
    PerDepth<MergeRow> minimum;
    PerDepth<MergeRow> maximum;
    BlockVariance variances;
};

/// The kernels of the running processor.
const AccumulateKernels& accumulateKernels();

}  // namespace ko
