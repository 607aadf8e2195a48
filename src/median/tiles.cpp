#include "median/tiles.h"

#include "base/dispatch.h"
#include "median/bands.h"
#include "median/planar_rows.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <array>
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
          m_radius(radius),
          m_most(static_cast<T>((1U << src.bitsPerSample) - 1)),
          m_rowCount(2 * radius + medianTileSide),
          m_rows(src, dst, 2 * radius + 1),
          m_rowKernel(rowKernel<T>(radius)),
          m_planes(new (scratch) Plane[medianPlanes(src)], medianPlanes(src)),
          m_kernelScratch(scratch + m_planes.size_bytes())
    {
    }

    static std::size_t scratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept
    {
        return medianPlanes(image) * sizeof(Plane) + rowKernel<T>(radius).scratchBytes;
    }

    /// What is left of the rows `top` ... `bottom` - 1.
    void run(std::int64_t top, std::int64_t bottom, const MedianPatches& patches) noexcept
    {
        constexpr std::int64_t columns = medianPieceTiles<T> * medianTileSide;
        patches.forEachLeft(0, m_src.width, top, [&](MedianPatches::Run run) {
            for (std::int64_t x = run.first; x < run.end; x += columns)
                runPiece(x, std::min(columns, run.end - x), top, bottom);
        });
    }

private:
    static constexpr std::size_t mostRows = 2 * largestTileRadius + medianTileSide;
    /// One channel of a piece.
    struct alignas(64) Plane {
        std::array<T, medianRowSamples<T>> row;
        std::array<std::array<T, medianRowSamples<T>>, mostRows> phases;
        std::array<T, medianTileSide * medianRowSamples<T>> medians;
    };

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
            for (std::int64_t i = 0; i < std::min(medianTileSide, bottom - y); ++i) {
                const auto row = rowsOf<const T>(
                    [&](Plane& plane) { return plane.medians.data() + i * medianRowSamples<T>; });
                m_rows.write(x, y + i, columns, row.data());
            }
        }
    }

    /// A row of each plane.
    template <class Sample, class RowOf>
    std::array<Sample*, 3> rowsOf(const RowOf& rowOf) noexcept
    {
        std::array<Sample*, 3> rows{};
        std::transform(m_planes.begin(), m_planes.end(), rows.begin(), rowOf);
        return rows;
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
        const std::int64_t count = std::min(m_src.width + m_radius - start, medianRowSamples<T>);
        m_rows.read(start, y, count, rowsOf<T>([](Plane& plane) { return plane.row.data(); }).data());
        for (Plane& plane : m_planes) {
            std::fill(plane.row.begin() + count, plane.row.end(), T{0});
            m_kernels.split(plane.row.data(), phasesOf(plane, y));
        }
    }

    const SxImageBuf& m_src;
    std::int64_t m_radius;
    T m_most;
    std::int64_t m_rowCount;
    MedianPlanarRows<T> m_rows;
    const MedianPixelKernels<T>& m_kernels = medianTileKernels<T>().pixels;
    typename MedianTileKernels<T>::Row m_rowKernel;
    std::span<Plane> m_planes;
    std::byte* m_kernelScratch;
};

template <class T>
void filter(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch,
            const MedianPatches& patches)
{
    forEachMedianBand(workOn(src, dst).times(12 * radius),
                      [&](int thread, std::int64_t top, std::int64_t bottom) noexcept {
                          std::byte* const part = scratch.part(static_cast<std::size_t>(thread));
                          TileFilter<T>(src, dst, radius, part).run(top, bottom, patches);
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

void tileMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch,
                 const MedianPatches& patches)
{
    if (hasType(src, UInt8))
        filter<std::uint8_t>(src, dst, radius, scratch, patches);
    else
        filter<std::uint16_t>(src, dst, radius, scratch, patches);
}

}  // namespace ko
