// Row kernels of the Bayer helpers.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// The two rows of a row of cells: red lies in one, blue in the other.
struct MosaicRows {
    const std::uint8_t* withRed;
    const std::uint8_t* withBlue;
    bool redFirst;  ///< red in the even samples, hence blue in the odd ones
};

/// One row of each colour plane.
struct PlaneRows {
    const std::uint8_t* red;
    const std::uint8_t* green1;
    const std::uint8_t* blue;
    const std::uint8_t* green2;
};

/// Interleaved pixels to write: 3 channels, or 4 with `fourth` in the last.
struct PixelRow {
    std::uint8_t* first;
    int channels;
    std::uint16_t fourth;
};

/// Kernels for one sample type. No output may overlap an input.
struct BayerRowKernels {
    /// Samples 0, 2, 4, ... of src to even, 1, 3, 5, ... to odd; `count` of each.
    void (*split)(const std::uint8_t* src, std::uint8_t* even, std::uint8_t* odd,
                  std::int64_t count) noexcept;
    /// One pixel of each of `count` cells.
    void (*fromMosaic)(const MosaicRows& src, const PixelRow& dst, std::int64_t count) noexcept;
    /// One pixel of each of `count` places of the planes.
    void (*fromPlanes)(const PlaneRows& src, const PixelRow& dst, std::int64_t count) noexcept;
};

using BayerKernels = PerDepth<BayerRowKernels>;

/// The kernels of the running processor.
const BayerKernels& bayerKernels();

}  // namespace ko
