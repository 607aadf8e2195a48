// Kernels of the median by levels: the medians of a block are compared with one threshold after the other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Pixels of a block: whole vectors of every processor, as many rows as make what is read around them small.
inline constexpr std::int64_t medianLevelColumns = 64;
inline constexpr std::int64_t medianLevelRows = 128;

/// Radii that there are kernels for: sums of a row of a window fit into a byte, differences of the counts of two
/// windows into 16 bits.
inline constexpr std::int64_t smallestLevelRadius = 5;
inline constexpr std::int64_t largestLevelRadius = 127;

/// Rows that kernels look at around a block; they go in steps of 8 rows.
inline constexpr std::int64_t medianLevelSourceRows = medianLevelRows + 2 * largestLevelRadius + 8;

/// Samples of a row that kernels may read from the first one of its windows on.
inline constexpr std::int64_t medianLevelSourceColumns = 5 * medianLevelColumns;

/// Begins at a whole cache line.
struct MedianLevelScratch {
    /// Samples on one side of the threshold in each row of the windows.
    alignas(64) std::array<std::uint8_t, medianLevelSourceRows * medianLevelColumns> sums;
    /// What they are made from, for some rows at a time.
    std::array<std::uint8_t, 32 * medianLevelSourceColumns + 1024> steps;
};

struct MedianLevelBlock {
    const std::uint8_t* samples;  ///< the first one of the first window
    std::int64_t pitch;           ///< samples from one row to the next
    std::int64_t rows;            ///< of pixels
    std::int64_t window;
    std::uint8_t guess;  ///< a value near the medians
    std::uint8_t most;   ///< medians above become this
    std::uint8_t* medians;
    std::int64_t medianPitch;
    MedianLevelScratch* scratch;
};

struct MedianLevelKernels {
    /// Finds the medians of a block; null where there are no vectors.
    void (*find)(const MedianLevelBlock& block) noexcept;

    /// The largest radius at which that is of use.
    std::int64_t largestRadius;

    /// In percent, how many thresholds are as fast as another engine, compared with the fastest of these kernels.
    std::int64_t share;
};

/// The kernels of the running processor.
const MedianLevelKernels& medianLevelKernels();

}  // namespace ko
