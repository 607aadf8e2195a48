// Row kernels of Demosaic.
#pragma once

#include "base/kernel_tables.h"
#include "core/bayer_kernels.h"

#include <cstdint>

namespace ko {

/// Bounds that the samples of the enlarged planes are brought into.
struct SampleRange {
    std::uint16_t lowest;
    std::uint16_t highest;
};

/// Kernels for one sample type. `width` is even; no output overlaps an input.
struct DemosaicRowKernels {
    /// A mosaic row of two colours into a full row of each, as Stretch doubles them: `even` gets the colour
    /// of the even columns. The results are complemented (every bit inverted).
    void (*enlarge)(const std::uint8_t* mosaic, std::uint8_t* even, std::uint8_t* odd,
                    std::int64_t width) noexcept;
    /// The two rows of pixels between two complemented rows of each colour.
    void (*combine)(const PlaneRows& above, const PlaneRows& below, SampleRange range, const PixelRow& upper,
                    const PixelRow& lower, std::int64_t width) noexcept;
};

using DemosaicKernels = PerDepth<DemosaicRowKernels>;

/// The kernels of the running processor.
const DemosaicKernels& demosaicKernels();

}  // namespace ko
