// Row kernels of DemosaicMalvar.
#pragma once

#include "base/kernel_tables.h"
#include "demosaic/mosaic_lines.h"

#include <cstdint>
#include <type_traits>

namespace ko {

/// Five rows of the mosaic as lines, the middle one is the row to make.
template <class E>
struct MalvarLines {
    const E* own[5];      ///< the columns in which the middle row has its colour
    const E* between[5];  ///< the columns in which it has green
};

/// Kernels for samples of type `T`. The sums of bytes fit 16 bits; lines of words stay words, which are loaded
/// faster than their sums.
template <class T>
struct MalvarRowKernels {
    using Element = std::conditional_t<sizeof(T) == 1, std::int16_t, std::uint16_t>;
    using Sum = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;

    void (*split)(const std::uint8_t* mosaic, Element* first, Element* second, std::int64_t pairs) noexcept;
    /// One row of pixels. Lines are read from a pair before their start to a vector behind the row's end.
    void (*row)(const MalvarLines<Element>& lines, RowKind kind, const PixelRow& dst, std::int64_t width,
                Sum top) noexcept;
};

using MalvarKernels = PerDepth<MalvarRowKernels<std::uint8_t>, MalvarRowKernels<std::uint16_t>>;

/// The kernels of the running processor.
const MalvarKernels& malvarKernels();

}  // namespace ko
