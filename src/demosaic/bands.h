// Working memory of the centred methods, one part for each thread.
#pragma once

#include "base/checks.h"
#include "base/rows.h"
#include "demosaic/mosaic_lines.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace ko {

/// What callers hold as `void*`.
struct BandBuffer {
    std::int64_t pitch;  ///< elements of a line
    int bands;
    std::unique_ptr<std::byte[]> memory;
};

/// Lines and bytes of an element that the more demanding method works on.
inline constexpr std::int64_t bandLines = 37, elementBytes = 4;

inline std::unique_ptr<BandBuffer> makeBandBuffer(std::int64_t width)
{
    auto buffer = std::make_unique<BandBuffer>();
    buffer->pitch = linePitch((width + 1) / 2);
    buffer->bands = omp_get_max_threads();
    buffer->memory = std::make_unique<std::byte[]>(
        static_cast<std::size_t>(buffer->bands * bandLines * elementBytes * buffer->pitch));
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
    // The faster method takes as long for a pixel as a copy of 30 bytes.
    const RowWork work{rows, 30 * widthOf(roi)};
    const std::int64_t bands =
        std::clamp<std::int64_t>(rows / fewRows, 1, std::min(buffer.bands, threadsFor(work)));
    rowsStatic({bands, work.bytes * rows / bands}, [&](std::int64_t band) noexcept {
        body(buffer.memory.get() + band * bandLines * elementBytes * buffer.pitch, rows * band / bands,
             rows * (band + 1) / bands);
    });
    return true;
}

}  // namespace ko
