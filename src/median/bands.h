// Bands of an image, for the engines that want whole rows.
#pragma once

#include "base/rows.h"

#include <algorithm>
#include <cstdint>

namespace ko {

/// Rows of a band: whole tiles. Lower ones would read much around themselves again.
inline constexpr std::int64_t medianBandRows = 64;

/// Runs `body(thread, top, bottom)` for every band, which has the rows `top` ... `bottom` - 1. Strips would often
/// end with a few columns that take as long as a whole vector.
template <class Body>
void forEachMedianBand(const RowWork& rows, const Body& body)
{
    static_assert(noexcept(body(0, std::int64_t{}, std::int64_t{})));
    const RowWork bands{(rows.rows + medianBandRows - 1) / medianBandRows, rows.bytes * medianBandRows};
    shareRows(bands.rows, threadsFor(bands), [&](int thread, std::int64_t band) noexcept {
        body(thread, band * medianBandRows, std::min((band + 1) * medianBandRows, rows.rows));
    });
}

}  // namespace ko
