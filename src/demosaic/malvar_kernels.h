// Row kernels of DemosaicMalvar.
#pragma once

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

struct MalvarKernels {
    MalvarRowKernels<std::uint8_t> u8;
    MalvarRowKernels<std::uint16_t> u16;

    template <class T>
    const MalvarRowKernels<T>& of() const noexcept
    {
        if constexpr (std::is_same_v<T, std::uint8_t>)
            return u8;
        else
            return u16;
    }
};

/// The kernels of the running processor.
const MalvarKernels& malvarKernels();

}  // namespace ko
