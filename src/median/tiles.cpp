#include "median/tiles.h"

#include "base/dispatch.h"
#include "base/image_view.h"
#include "median/bands.h"
#include "median/outside.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>

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
    TileFilter(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, std::byte* scratch) noexcept
        : m_src(src),
          m_dst(dst),
          m_radius(radius),
          m_most(static_cast<T>((1U << src.bitsPerSample) - 1)),
          m_rowCount(2 * radius + medianTileSide),
          m_outside(src, 2 * radius + 1),
          m_rowKernel(rowKernel<T>(radius)),
          m_planes(new (scratch) Plane[static_cast<std::size_t>(planesOf(src))], planesOf(src)),
          m_kernelScratch(scratch + m_planes.size_bytes())
    {
    }

    static std::size_t scratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept
    {
        return planesOf(image) * sizeof(Plane) + rowKernel<T>(radius).scratchBytes;
    }

    /// Rows `top` ... `bottom` - 1.
    void run(std::int64_t top, std::int64_t bottom) noexcept
    {
        constexpr std::int64_t columns = medianPieceTiles<T> * medianTileSide;
        for (std::int64_t x = 0; x < m_src.width; x += columns)
            runPiece(x, std::min(columns, m_src.width - x), top, bottom);
    }

private:
    static constexpr std::int64_t sampleBytes = sizeof(T);
    static constexpr std::size_t mostRows = 2 * largestTileRadius + medianTileSide;
    /// One channel of a piece.
    struct alignas(64) Plane {
        std::array<T, medianRowSamples<T>> row;
        std::array<std::array<T, medianRowSamples<T>>, mostRows> phases;
        std::array<T, medianTileSide * medianRowSamples<T>> medians;
    };

    /// Pixels have one sample or three; images of other channels have no medians.
    static std::size_t planesOf(const SxImageInfo& image) noexcept { return image.channels == 1 ? 1 : 3; }

    /// Rows of tiles of a piece of the band, from top to bottom. Rows of samples stay while windows reach
    /// into them.
    void runPiece(std::int64_t x, std::int64_t columns, std::int64_t top, std::int64_t bottom) noexcept
    {
        std::array<const T*, mostRows> rows{};
        std::int64_t next = top - m_radius;
        for (std::int64_t y = top; y < bottom; y += medianTileSide) {
            for (; next < y - m_radius + m_rowCount; ++next)
                readRow(x, next);
            for (Plane& plane : m_planes) {
                for (std::int64_t i = 0; i < m_rowCount; ++i)
                    rows[static_cast<std::size_t>(i)] = phasesOf(plane, y - m_radius + i);
                m_rowKernel.run(rows.data(), (columns + medianTileSide - 1) / medianTileSide,
                                plane.medians.data(), m_most, m_kernelScratch);
            }
            for (std::int64_t i = 0; i < std::min(medianTileSide, bottom - y); ++i)
                writeRow(x, y + i, columns, i * medianRowSamples<T>);
        }
    }

    T* phasesOf(Plane& plane, std::int64_t y) noexcept
    {
        return plane.phases[static_cast<std::size_t>((y + m_radius) % m_rowCount)].data();
    }

    /// The part of row y that the windows of the piece at x reach into. What is behind that counts for
    /// nothing.
    void readRow(std::int64_t x, std::int64_t y) noexcept
    {
        const std::int64_t start = x - m_radius - 1;
        const auto placeOf = [&](std::int64_t column) {
            return std::clamp<std::int64_t>(column - start, 0, medianRowSamples<T>);
        };
        const std::int64_t end = placeOf(m_src.width + m_radius);
        if (y >= 0 && y < m_src.height) {
            const std::int64_t first = placeOf(0), last = placeOf(m_src.width);
            read(rowOf(m_src, y) + (start + first) * m_src.channels * sampleBytes, last - first, first);
        }
        for (Plane& plane : m_planes) {
            m_outside.fillRow(start, y, end, 1, plane.row.data());
            std::fill(plane.row.begin() + end, plane.row.end(), T{0});
            m_kernels.split(plane.row.data(), phasesOf(plane, y));
        }
    }

    /// Pixels to the rows of the planes, from sample `at` on.
    void read(const std::uint8_t* pixels, std::int64_t count, std::int64_t at) noexcept
    {
        T* const first = m_planes[0].row.data() + at;
        if (m_planes.size() == 1) {
            std::memcpy(first, pixels, static_cast<std::size_t>(count * sampleBytes));
        } else {
            T* const rows[] = {first, m_planes[1].row.data() + at, m_planes[2].row.data() + at};
            m_kernels.separate(pixels, count, rows);
        }
    }

    /// The medians of row y, which begin at sample `at`.
    void writeRow(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t at) const noexcept
    {
        std::uint8_t* const pixels = rowOf(m_dst, y) + x * m_src.channels * sampleBytes;
        const T* const first = m_planes[0].medians.data() + at;
        if (m_planes.size() == 1) {
            std::memcpy(pixels, first, static_cast<std::size_t>(columns * sampleBytes));
        } else {
            const T* const rows[] = {first, m_planes[1].medians.data() + at, m_planes[2].medians.data() + at};
            m_kernels.join(rows, columns, pixels);
        }
    }

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    std::int64_t m_radius;
    T m_most;
    std::int64_t m_rowCount;
    Outside m_outside;
    const MedianPixelKernels<T>& m_kernels = medianTileKernels<T>().pixels;
    typename MedianTileKernels<T>::Row m_rowKernel;
    std::span<Plane> m_planes;
    std::byte* m_kernelScratch;
};

template <class T>
void filter(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch)
{
    forEachMedianBand(workOn(src, dst).times(12 * radius),
                      [&](int thread, std::int64_t top, std::int64_t bottom) noexcept {
                          std::byte* const part = scratch.part(static_cast<std::size_t>(thread));
                          TileFilter<T>(src, dst, radius, part).run(top, bottom);
                      });
}

}  // namespace

bool hasTileMedians(ExImageDataType type, std::int64_t radius) noexcept
{
    if (radius < smallestTileRadius || radius > largestTileRadius)
        return false;
    return type == UInt8 ? rowKernel<std::uint8_t>(radius).run != nullptr
                         : rowKernel<std::uint16_t>(radius).run != nullptr;
}

std::size_t tileScratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept
{
    return hasType(image, UInt8) ? TileFilter<std::uint8_t>::scratchBytes(image, radius)
                                 : TileFilter<std::uint16_t>::scratchBytes(image, radius);
}

void tileMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch)
{
    if (hasType(src, UInt8))
        filter<std::uint8_t>(src, dst, radius, scratch);
    else
        filter<std::uint16_t>(src, dst, radius, scratch);
}

}  // namespace ko
