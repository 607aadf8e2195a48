// Kernels of the median by tiles: the medians of 4 x 4 windows that overlap are found together.
//
// A vector holds the same sample of as many tiles as it has lanes, so rows are first split into four phases:
// phase p of a row has its samples p, p + 4, p + 8 ...
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

inline constexpr std::int64_t medianTileSide = 4;

/// Radii that there are kernels for.
inline constexpr std::int64_t smallestTileRadius = 3;
inline constexpr std::int64_t largestTileRadius = 9;

/// Tiles that a kernel takes at most: four vectors of the widest kind.
template <class T>
inline constexpr std::int64_t medianPieceTiles = 256 / sizeof(T);

/// Samples of one phase of a row: those of the tiles, and what their windows reach into at the sides.
template <class T>
inline constexpr std::int64_t medianPhaseSamples = medianPieceTiles<T> + 64 / sizeof(T);

template <class T>
inline constexpr std::int64_t medianRowSamples = medianTileSide* medianPhaseSamples<T>;

template <class T>
struct MedianPixelKernels {
    /// Takes pixels of three samples apart; `pixels` may be any address.
    void (*separate)(const std::uint8_t* pixels, std::int64_t count, T* const* rows) noexcept;

    /// Puts them together.
    void (*join)(const T* const* rows, std::int64_t count, std::uint8_t* pixels) noexcept;

    /// Splits a row of `medianRowSamples` into its phases, one after the other.
    void (*split)(const T* row, T* phases) noexcept;
};

template <class T>
struct MedianTileKernels {
    MedianPixelKernels<T> pixels;

    /// Medians of the first `tiles` tiles of 4 rows. `rows` are the 2 * radius + 4 rows that the windows
    /// reach into, as phases of rows that begin radius + 1 samples before the first tile; the medians of row
    /// i begin at medians[i * medianRowSamples]. Whole vectors of tiles are written; results above `most`
    /// become `most`. `scratch` begins at a whole cache line.
    struct Row {
        void (*run)(const T* const* rows, std::int64_t tiles, T* medians, T most,
                    std::byte* scratch) noexcept;
        std::size_t scratchBytes;
    };
    /// By radius; without a function where searching is faster.
    std::array<Row, largestTileRadius - smallestTileRadius + 1> rows;
};

/// The kernels of the running processor.
template <class T>
const MedianTileKernels<T>& medianTileKernels();

}  // namespace ko
