#include "median/tiles.h"

#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace ko {

namespace {

/// Samples outside the image, such that the middle of every whole window is the lower middle of the part of
/// it that exists: of those in a window half are lower and half are higher than all others; of an odd number,
/// one more is lower. Each side of the image has lines of its own that reach over the corner at their end.
/// Along a line, low and high alternate from its beginning on, and again every `window` samples; from one
/// line to the next they change places.
class Outside {
public:
    Outside(const SxImageInfo& image, std::int64_t window) noexcept
        : m_width(image.width), m_height(image.height), m_window(window)
    {
    }

    bool isLow(std::int64_t x, std::int64_t y) const noexcept
    {
        if (x < 0 && y < m_height)
            return isLowOnLine(-x, m_height - 1 - y);
        if (y < 0)
            return isLowOnLine(-y, x);
        if (x >= m_width)
            return isLowOnLine(x - m_width + 1, y);
        return isLowOnLine(y - m_height + 1, m_width - 1 - x);
    }

private:
    bool isLowOnLine(std::int64_t line, std::int64_t at) const noexcept
    {
        return (line + at % m_window) % 2 != 0;
    }

    std::int64_t m_width;
    std::int64_t m_height;
    std::int64_t m_window;
};

template <class T>
typename MedianTileKernels<T>::Band bandOf(std::int64_t radius) noexcept
{
    return medianTileKernels<T>().bands[static_cast<std::size_t>(radius - smallestTileRadius)];
}

template <class T>
class TileFilter {
public:
    TileFilter(const SxImageBuf& src, SxImageBuf& dst, const MedianTile& tile, std::int64_t radius,
               std::byte* scratch) noexcept
        : m_src(src),
          m_dst(dst),
          m_tile(tile),
          m_radius(radius),
          m_rowCount(2 * radius + medianTileSide),
          m_outside(src, 2 * radius + 1),
          m_band(bandOf<T>(radius)),
          m_memory(*new (scratch) Memory),
          m_bandScratch(scratch + sizeof(Memory))
    {
    }

    static std::size_t scratchBytes(std::int64_t radius) noexcept
    {
        return sizeof(Memory) + bandOf<T>(radius).scratchBytes;
    }

    void run() noexcept
    {
        constexpr std::int64_t columns = medianPieceTiles<T> * medianTileSide;
        for (std::int64_t x = m_tile.firstColumn; x <= m_tile.lastColumn; x += columns)
            for (std::int64_t channel = 0; channel < m_tile.channels; ++channel)
                runPiece(x, std::min(columns, m_tile.lastColumn + 1 - x), channel);
    }

private:
    /// Bands of a piece of the strip, from top to bottom. Rows stay while windows reach into them.
    void runPiece(std::int64_t x, std::int64_t columns, std::int64_t channel) noexcept
    {
        std::array<const T*, mostRows> rows{};
        std::int64_t next = m_tile.firstRow - m_radius;
        for (std::int64_t y = m_tile.firstRow; y <= m_tile.lastRow; y += medianTileSide) {
            for (; next < y - m_radius + m_rowCount; ++next)
                readRow(x, next, channel);
            for (std::int64_t i = 0; i < m_rowCount; ++i)
                rows[static_cast<std::size_t>(i)] = phasesOf(y - m_radius + i);
            m_band.run(rows.data(), (columns + medianTileSide - 1) / medianTileSide, m_memory.medians.data(),
                       static_cast<T>(m_tile.bins - 1), m_bandScratch);
            for (std::int64_t i = 0; i < std::min(medianTileSide, m_tile.lastRow + 1 - y); ++i)
                writeRow(x, y + i, columns, channel, m_memory.medians.data() + i * medianRowSamples<T>);
        }
    }

    T* phasesOf(std::int64_t y) noexcept
    {
        return m_memory.phases[static_cast<std::size_t>((y + m_radius) % m_rowCount)].data();
    }

    /// The part of row y that the windows of the piece at x reach into. What is behind that counts for
    /// nothing.
    void readRow(std::int64_t x, std::int64_t y, std::int64_t channel) noexcept
    {
        const std::int64_t start = x - m_radius - 1;
        const auto placeOf = [&](std::int64_t column) {
            return std::clamp<std::int64_t>(column - start, 0, medianRowSamples<T>);
        };
        const std::int64_t end = placeOf(m_src.width + m_radius);
        std::int64_t first = end, last = end;  // of what is in the image
        if (y >= 0 && y < m_src.height) {
            first = placeOf(0);
            last = placeOf(m_src.width);
            copy(rowOf(m_src, y) + ((start + first) * m_tile.channels + channel) * sampleBytes, last - first,
                 m_memory.row.data() + first);
        }
        const auto fill = [&](std::int64_t from, std::int64_t to) {
            for (std::int64_t i = from; i < to; ++i)
                m_memory.row[static_cast<std::size_t>(i)] =
                    m_outside.isLow(start + i, y) ? T{0} : std::numeric_limits<T>::max();
        };
        fill(0, first);
        fill(last, end);
        std::fill(m_memory.row.begin() + end, m_memory.row.end(), T{0});
        m_kernels.split(m_memory.row.data(), phasesOf(y));
    }

    // Samples next to each other have loops of their own, which become vectors.
    void copy(const std::uint8_t* from, std::int64_t count, T* to) const noexcept
    {
        if (m_tile.channels == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < count; ++i)
                to[i] = loadSample<T>(from, i);
        } else {
            for (std::int64_t i = 0; i < count; ++i)
                to[i] = loadSample<T>(from, i * m_tile.channels);
        }
    }

    void writeRow(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t channel,
                  const T* medians) const noexcept
    {
        std::uint8_t* const to = rowOf(m_dst, y) + (x * m_tile.channels + channel) * sampleBytes;
        if (m_tile.channels == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < columns; ++i)
                storeSample(to, i, medians[i]);
        } else {
            for (std::int64_t i = 0; i < columns; ++i)
                storeSample(to, i * m_tile.channels, medians[i]);
        }
    }

    static constexpr std::int64_t sampleBytes = sizeof(T);
    static constexpr std::size_t mostRows = 2 * largestTileRadius + medianTileSide;
    struct alignas(64) Memory {
        std::array<T, medianRowSamples<T>> row;
        std::array<std::array<T, medianRowSamples<T>>, mostRows> phases;
        std::array<T, medianTileSide * medianRowSamples<T>> medians;
    };

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    const MedianTile& m_tile;
    std::int64_t m_radius;
    std::int64_t m_rowCount;
    Outside m_outside;
    const MedianTileKernels<T>& m_kernels = medianTileKernels<T>();
    typename MedianTileKernels<T>::Band m_band;
    Memory& m_memory;
    std::byte* m_bandScratch;
};

}  // namespace

bool hasTileMedians(ExImageDataType type, std::int64_t radius) noexcept
{
    if (radius < smallestTileRadius || radius > largestTileRadius)
        return false;
    return type == UInt8 ? bandOf<std::uint8_t>(radius).run != nullptr
                         : bandOf<std::uint16_t>(radius).run != nullptr;
}

std::size_t tileScratchBytes(ExImageDataType type, std::int64_t radius) noexcept
{
    return type == UInt8 ? TileFilter<std::uint8_t>::scratchBytes(radius)
                         : TileFilter<std::uint16_t>::scratchBytes(radius);
}

void tileMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianTile& tile, std::int64_t radius,
                 std::byte* scratch) noexcept
{
    if (hasType(src, UInt8))
        TileFilter<std::uint8_t>(src, dst, tile, radius, scratch).run();
    else
        TileFilter<std::uint16_t>(src, dst, tile, radius, scratch).run();
}

}  // namespace ko
