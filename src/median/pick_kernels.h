// Where the medians of a row are among the sorted samples of their block.
#pragma once

#include "median/column_kernels.h"

#include <cstdint>

namespace ko {

/// A sample's place in a block: its row in the upper half of the number, its column in the lower one. Both
/// leave the highest bit of their half free.
template <class Count>
struct MedianPlace {
    using Type = std::uint32_t;
};
template <>
struct MedianPlace<std::uint16_t> {
    using Type = std::uint64_t;
};
template <class Count>
using MedianPlaceOf = typename MedianPlace<Count>::Type;

/// Places that are looked through at a time; as many may be read behind the last one.
inline constexpr std::int64_t medianPlaceChunk = 32;

/// Finds the medians of row y of the block. `row` has their codes and their ranks among the samples of that code;
/// `places` holds the samples in ascending order, those of code c from c << shift on.
template <class Count>
using MedianPick = void (*)(const MedianWindowRow<std::uint16_t, Count>& row,
                            const MedianPlaceOf<Count>* places, int shift, std::int64_t y,
                            std::uint32_t* found) noexcept;

/// The kernel of the running processor.
template <class Count>
MedianPick<Count> medianPick();

}  // namespace ko
