// Row kernels of Stretch for any ratio.
#pragma once

#include "base/kernel_tables.h"
#include "filters/stretch_between.h"
#include "filters/stretch_gather.h"
#include "filters/stretch_table.h"

#include <cstdint>
#include <span>

namespace ko {

/// One pass along a row by the table alone, for any channel count.
using StretchAlongRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, const StretchTable& table,
                                 std::int64_t channels) noexcept;

/// One pass along two rows by an arranged gather, which costs more to read than the rows. Both may be the
/// same. Up to `stretchRowSlack` bytes behind the results are overwritten.
using StretchGatherRows = void (*)(const std::uint8_t* src0, const std::uint8_t* src1, std::uint8_t* dst0,
                                   std::uint8_t* dst1, const StretchGather& gather) noexcept;

/// The same where each result lies between two samples.
using StretchBetweenRows = void (*)(const std::uint8_t* src0, const std::uint8_t* src1, std::uint8_t* dst0,
                                    std::uint8_t* dst1, const StretchBetween& between) noexcept;

/// One output row of the pass across rows: `samples` samples, `rows[i]` weighted by `taps[i].weight`.
using StretchAcrossRows = void (*)(const std::uint8_t* const* rows, std::span<const StretchTap> taps,
                                   std::uint8_t* dst, std::int64_t samples) noexcept;

struct StretchRows {
    StretchAlongRow alongByTable;
    StretchGatherRows alongByGather;  ///< null where this processor has no use for it
    StretchBetweenRows alongBetween;  ///< null likewise
    std::int64_t lanesBetween;        ///< that `alongBetween` wants to be arranged for
    StretchAcrossRows across;
};

using StretchKernels = PerDepth<StretchRows>;

inline constexpr std::int64_t stretchRowSlack = 64;

/// The kernels of the running processor.
const StretchKernels& stretchKernels();

}  // namespace ko
