// Row kernels that replace samples by what a table holds for them.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One row: dst[i] = table[src[i]], with an entry for every value of the sample. src and dst may be the same
/// memory. Words need the memory of one more entry, which is read but not used.
template <class T>
using LookUpRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                           const T* table) noexcept;

template <class T>
struct LookUpRows {
    LookUpRow<T> row;
    /// The first three channels of a row of pixels of three or four, each by its table. src and dst may be the same
    /// memory.
    void (*colours)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, std::int64_t channels,
                    const T* const* tables) noexcept;
};

using LookUpKernels = PerDepth<LookUpRows<std::uint8_t>, LookUpRows<std::uint16_t>>;

/// The kernels of the running processor.
const LookUpKernels& lookUpKernels();

}  // namespace ko
