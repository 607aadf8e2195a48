#include "median/tiles.h"

#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "median/outside.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <array>
#include <new>

namespace ko {

namespace {

template <class T>
typename MedianTileKernels<T>::Row rowKernel(std::int64_t radius) noexcept
{
    return medianTileKernels<T>().rows[static_cast<std::size_t>(radius - smallestTileRadius)];
}

template <class T>
class TileFilter {
public:
    TileFilter(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
               std::byte* scratch) noexcept
        : m_src(src),
          m_dst(dst),
          m_strip(strip),
          m_radius(radius),
          m_rowCount(2 * radius + medianTileSide),
          m_outside(src, 2 * radius + 1),
          m_rowKernel(rowKernel<T>(radius)),
          m_memory(*new (scratch) Memory),
          m_kernelScratch(scratch + sizeof(Memory))
    {
    }

    static std::size_t scratchBytes(std::int64_t radius) noexcept
    {
        return sizeof(Memory) + rowKernel<T>(radius).scratchBytes;
    }

    void run() noexcept
    {
        constexpr std::int64_t columns = medianPieceTiles<T> * medianTileSide;
        for (std::int64_t x = m_strip.firstColumn; x <= m_strip.lastColumn; x += columns)
            for (std::int64_t channel = 0; channel < m_strip.channels; ++channel)
                runPiece(x, std::min(columns, m_strip.lastColumn + 1 - x), channel);
    }

private:
    /// Rows of tiles of a piece of the strip, from top to bottom. Rows of samples stay while windows reach
    /// into them.
    void runPiece(std::int64_t x, std::int64_t columns, std::int64_t channel) noexcept
    {
        std::array<const T*, mostRows> rows{};
        std::int64_t next = m_strip.firstRow - m_radius;
        for (std::int64_t y = m_strip.firstRow; y <= m_strip.lastRow; y += medianTileSide) {
            for (; next < y - m_radius + m_rowCount; ++next)
                readRow(x, next, channel);
            for (std::int64_t i = 0; i < m_rowCount; ++i)
                rows[static_cast<std::size_t>(i)] = phasesOf(y - m_radius + i);
            m_rowKernel.run(rows.data(), (columns + medianTileSide - 1) / medianTileSide,
                            m_memory.medians.data(), static_cast<T>(m_strip.bins - 1), m_kernelScratch);
            for (std::int64_t i = 0; i < std::min(medianTileSide, m_strip.lastRow + 1 - y); ++i)
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
        if (y >= 0 && y < m_src.height) {
            const std::int64_t first = placeOf(0), last = placeOf(m_src.width);
            copy(rowOf(m_src, y) + ((start + first) * m_strip.channels + channel) * sampleBytes, last - first,
                 m_memory.row.data() + first);
        }
        m_outside.fillRow(start, y, end, 1, m_memory.row.data());
        std::fill(m_memory.row.begin() + end, m_memory.row.end(), T{0});
        m_kernels.split(m_memory.row.data(), phasesOf(y));
    }

    // Samples next to each other have loops of their own, which become vectors.
    void copy(const std::uint8_t* from, std::int64_t count, T* to) const noexcept
    {
        if (m_strip.channels == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < count; ++i)
                to[i] = loadSample<T>(from, i);
        } else {
            for (std::int64_t i = 0; i < count; ++i)
                to[i] = loadSample<T>(from, i * m_strip.channels);
        }
    }

    void writeRow(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t channel,
                  const T* medians) const noexcept
    {
        std::uint8_t* const to = rowOf(m_dst, y) + (x * m_strip.channels + channel) * sampleBytes;
        if (m_strip.channels == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < columns; ++i)
                storeSample(to, i, medians[i]);
        } else {
            for (std::int64_t i = 0; i < columns; ++i)
                storeSample(to, i * m_strip.channels, medians[i]);
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
    const MedianStrip& m_strip;
    std::int64_t m_radius;
    std::int64_t m_rowCount;
    Outside m_outside;
    const MedianTileKernels<T>& m_kernels = medianTileKernels<T>();
    typename MedianTileKernels<T>::Row m_rowKernel;
    Memory& m_memory;
    std::byte* m_kernelScratch;
};

}  // namespace

bool hasTileMedians(ExImageDataType type, std::int64_t radius) noexcept
{
    if (radius < smallestTileRadius || radius > largestTileRadius)
        return false;
    return type == UInt8 ? rowKernel<std::uint8_t>(radius).run != nullptr
                         : rowKernel<std::uint16_t>(radius).run != nullptr;
}

std::size_t tileScratchBytes(ExImageDataType type, std::int64_t radius) noexcept
{
    return type == UInt8 ? TileFilter<std::uint8_t>::scratchBytes(radius)
                         : TileFilter<std::uint16_t>::scratchBytes(radius);
}

void tileMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                 std::byte* scratch) noexcept
{
    if (hasType(src, UInt8))
        TileFilter<std::uint8_t>(src, dst, strip, radius, scratch).run();
    else
        TileFilter<std::uint16_t>(src, dst, strip, radius, scratch).run();
}

}  // namespace ko
