// Row kernels of the chamfer distance.
//
// Both passes settle a row from rows that are settled already: the least of their distances plus the weight
// of the step, then a running minimum along the row for the straight step. Whole numbers throughout.
#pragma once

#include <cstdint>

namespace ko {

/// One step into the row: from `earlier` at the same position, at the cost of `weight`.
template <class T>
struct ChamferTap {
    const T* earlier;
    T weight;
};

/// Samples that a row of scratch must offer before its first and behind its last pixel, all of them `far`.
inline constexpr std::int64_t chamferMargin = 32;

template <class T>
struct ChamferRows {
    /// Settles `row` (0 at the objects, `far` elsewhere, or distances already known). May write up to
    /// `chamferMargin` samples behind the row; `far` stays `far` where no tap reaches.
    void (*settle)(T* row, std::int64_t width, const ChamferTap<T>* taps, std::int64_t tapCount, T straight,
                   T far) noexcept;

    /// Writes a row from its last pixel to the first, to any address.
    void (*storeMirrored)(const T* row, std::int64_t width, std::uint8_t* dst) noexcept;

    /// The same with distances in steps of `straight`, below 128, and -1 over `straight` for what is far.
    void (*storeDistances)(const T* row, std::int64_t width, T straight, T far, std::uint8_t* dst) noexcept;
};

struct ChamferKernels {
    ChamferRows<std::int32_t> i32;
    ChamferRows<std::int64_t> i64;
};

/// The kernels of the running processor.
const ChamferKernels& chamferKernels();

}  // namespace ko
