// Kernels of the median by searching: of all windows of a block at once, how many samples lie below a value.
//
// A block holds one channel as codes, one byte per sample: row by row, `pitch` codes to a row, the block's
// own columns and the radius on either side. Code 0 is below every value that is asked for and code 255
// below none, so these two also stand for what is outside the image. Counts are kept with an offset of
// their type's lowest value, so that signed comparisons serve; `Count` is the unsigned type that holds the
// samples of a window.
#pragma once

#include <cstdint>

namespace ko {

/// Holds the samples of one row of a window.
template <class Count>
struct MedianRowCount {
    using Type = std::uint8_t;
};
template <>
struct MedianRowCount<std::uint32_t> {
    using Type = std::uint16_t;
};
template <class Count>
using MedianRowCountOf = typename MedianRowCount<Count>::Type;

/// Bytes that vectors may touch behind every array handed to a kernel.
inline constexpr std::int64_t medianSlack = 256;

/// One step of the search: pixels known to have their median in first ... first + 2 * half - 1 move up to
/// first + half when fewer samples of their window than wanted lie below that.
template <class Count>
struct MedianSplit {
    const MedianRowCountOf<Count>* rowCounts;  ///< codes below first + half, per row of the window
    std::int64_t pitch;
    std::int64_t window;
    std::int64_t columns;
    std::int64_t rows;
    Count wanted;  ///< rank of the median in its window
    Count* found;  ///< lowest code that the median may still have; unused lanes hold 255
    Count* rest;   ///< rank of the median among the samples from `found` on; null where nobody asks
    std::int64_t foundPitch;
    Count first;
    Count half;
};

/// What became of the pixels of a step.
struct MedianOutcome {
    bool someStayed;
    bool someMoved;
};

/// The samples of a block in the order of their values, and where each code begins. `Place` is the unsigned
/// type that holds the coordinates.
template <class Place>
struct MedianOrder {
    const Place* x;  ///< column in the block, the border of `radius` columns included
    const Place* y;
    const std::uint32_t* starts;
    int chunks;  ///< of 64 samples, that no code exceeds
};

template <class Count, class Place>
struct MedianSearchKernels {
    /// rowCounts[i] = codes below `bound` (1...255) among codes[i] ... codes[i + window - 1], for an odd
    /// window from 3.
    void (*countBelow)(const std::uint8_t* codes, std::int64_t samples, std::int64_t window, int bound,
                       MedianRowCountOf<Count>* rowCounts) noexcept;

    MedianOutcome (*split)(const MedianSplit<Count>& step) noexcept;

    /// Finds the medians of a row of the block: of the samples that have the code `found[x]` and lie in the
    /// window of pixel (x, y), the place in the order of the one with rank `rest[x]` (from 1).
    void (*pick)(const MedianOrder<Place>& order, const Count* found, const Count* rest, std::int64_t columns,
                 std::int64_t y, std::int64_t window, std::uint32_t* places) noexcept;
};

/// The kernels of the running processor.
template <class Count, class Place>
const MedianSearchKernels<Count, Place>& medianSearchKernels();

}  // namespace ko
