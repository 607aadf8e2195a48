// Working memory of the centred methods, one part for each thread.
#pragma once

#include "base/cache_line.h"
#include "base/checks.h"
#include "base/rows.h"
#include "demosaic/mosaic_lines.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace ko {

/// Cache lines that a band of lines of this pitch takes: 60 lines of 4 bytes an element by the more demanding
/// method.
constexpr std::int64_t bandMemory(std::int64_t pitch) noexcept
{
    return pitch * 60 * 4 / std::int64_t{sizeof(CacheLine)};
}

/// What callers hold as `void*`.
struct BandBuffer {
    std::int64_t pitch;  ///< elements of a line
    int bands;
    std::unique_ptr<CacheLine[]> memory;

    /// Where the lines of a band begin.
    CacheLine* band(std::int64_t index) const noexcept { return memory.get() + index * bandMemory(pitch); }
};

inline std::unique_ptr<BandBuffer> makeBandBuffer(std::int64_t width)
{
    auto buffer = std::make_unique<BandBuffer>();
    buffer->pitch = linePitch((width + 1) / 2);
    buffer->bands = omp_get_max_threads();
    buffer->memory =
        std::make_unique<CacheLine[]>(static_cast<std::size_t>(buffer->bands * bandMemory(buffer->pitch)));
    return buffer;
}

/// Runs `body(memory, from, to)` for bands of neighbouring rows, one per thread. Bands of few rows are not
/// worth a thread: each also works on rows around it. False where the buffer is too small.
template <class Body>
bool inBands(const QRect& roi, BandBuffer& buffer, const Body& body)
{
    constexpr std::int64_t fewRows = 32;
    const std::int64_t rows = heightOf(roi);
    if (linePitch((widthOf(roi) + 1) / 2) > buffer.pitch)
        return false;
    // Malvar's method takes as long for a pixel as a copy of 12 bytes, for words 36, Menon's of 100: one figure for
    // all, as near to the quick ones as to the slow one.
    const RowWork work{rows, 30 * widthOf(roi)};
    const std::int64_t bands =
        std::clamp<std::int64_t>(rows / fewRows, 1, std::min(buffer.bands, threadsFor(work)));
    rowsStatic({bands, work.bytes * rows / bands}, [&](std::int64_t band) noexcept {
        body(buffer.band(band)->bytes, rows * band / bands, rows * (band + 1) / bands);
    });
    return true;
}

}  // namespace ko
