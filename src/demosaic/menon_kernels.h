// Row kernels of DemosaicMenon.
//
// Only differences to green are interpolated. They vary less than the colours do, and of the rows around only
// the differences of red or blue to green, at the places of that colour, need to be known.
#pragma once

#include "base/kernel_tables.h"
#include "demosaic/mosaic_lines.h"

#include <array>
#include <cstdint>

namespace ko {

/// Lines of five rows, the middle one is the row to work on.
using FiveLines = std::array<const float*, 5>;

struct MenonKernels {
    using Split = void (*)(const std::uint8_t* mosaic, float* first, float* second,
                           std::int64_t pairs) noexcept;
    PerDepth<Split> split;

    /// The differences of the row's colour to the greens estimated along the row and across it. `own` are the
    /// columns of the row's colour, `between` the greens of the row itself.
    void (*differences)(const FiveLines& own, const float* between, bool colourFirst, float* along,
                        float* across, std::int64_t from, std::int64_t to) noexcept;
    /// The two differences mixed, the more of each the less it varies around, and the part of the one along
    /// the row.
    void (*mix)(const FiveLines& along, const FiveLines& across, bool colourFirst, float* mixed,
                float* alongPart, std::int64_t from, std::int64_t to) noexcept;
    /// The differences smoothed in the directions that they were mixed of.
    void (*refine)(const FiveLines& mixed, const float* alongPart, float* refined, std::int64_t from,
                   std::int64_t to) noexcept;

    /// The lines of a row to be made; the differences are those of the rows above, of it and below.
    struct Row {
        const float* own;
        const float* between;
        std::array<const float*, 3> refined;
    };
    using Make = void (*)(const Row& row, RowKind kind, const PixelRow& dst, std::int64_t width,
                          float top) noexcept;
    PerDepth<Make> make;
};

/// The kernels of the running processor.
const MenonKernels& menonKernels();

}  // namespace ko
