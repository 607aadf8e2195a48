#include "median/levels.h"

#include "base/checks.h"
#include "base/rows.h"
#include "median/level_kernels.h"
#include "median/planar_rows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>

namespace ko {

namespace {

static_assert(leastMedianPatchRows == medianLevelRows && medianPatchColumns % medianLevelColumns == 0);

/// What a few windows of a block look like, each by a few samples.
class SampledWindows {
public:
    /// How far their middle values lie apart, and that of the window in the centre.
    struct Spread {
        int range;
        int centre;
    };

    SampledWindows(const SxImageBuf& src, std::int64_t radius) noexcept : m_src(src), m_radius(radius) {}

    Spread of(std::int64_t x, std::int64_t y, std::int64_t rows, std::int64_t channel) const noexcept
    {
        const Places columns = places(x, medianLevelColumns, m_src.width, m_src.channels);
        const Places lines = places(y, rows, m_src.height, 1);
        int least = 255, largest = 0, centre = 0;
        for (std::size_t v = 0; v < lines.size(); v += samples) {
            std::array<Few, windows> middles;
            for (std::size_t line = 0; line < samples; ++line) {
                const std::uint8_t* const row = rowOf(m_src, lines[v + line]) + channel;
                for (std::size_t u = 0; u < windows; ++u) {
                    Few few;
                    for (std::size_t i = 0; i < samples; ++i)
                        few[i] = row[columns[u * samples + i]];
                    middles[u][line] = middleOf(few);
                }
            }
            for (std::size_t u = 0; u < windows; ++u) {
                const int middle = middleOf(middles[u]);
                least = std::min(least, middle);
                largest = std::max(largest, middle);
                if (u == windows / 2 && v == windows / 2 * samples)
                    centre = middle;
            }
        }
        return {largest - least, centre};
    }

private:
    static constexpr std::size_t windows = 3;  // along each side of the block
    static constexpr std::size_t samples = 4;  // along each side of a window
    using Places = std::array<std::int64_t, windows * samples>;
    using Few = std::array<int, samples>;

    /// One that is far off does not matter.
    static int middleOf(const Few& few) noexcept
    {
        static_assert(samples == 4);
        const auto [a, b, c, d] = few;
        return (a + b + c + d - std::min(std::min(a, b), std::min(c, d)) -
                std::max(std::max(a, b), std::max(c, d))) /
               2;
    }

    Places places(std::int64_t first, std::int64_t pixels, std::int64_t extent,
                  std::int64_t step) const noexcept
    {
        Places result;
        for (std::size_t i = 0; i < result.size(); ++i) {
            const auto window = static_cast<std::int64_t>(i / samples),
                       sample = static_cast<std::int64_t>(i % samples);
            const std::int64_t centre = first + window * (pixels - 1) / std::int64_t{windows - 1};
            const std::int64_t offset = sample * 2 * m_radius / std::int64_t{samples - 1} - m_radius;
            result[i] = std::clamp<std::int64_t>(centre + offset, 0, extent - 1) * step;
        }
        return result;
    }

    const SxImageBuf& m_src;
    std::int64_t m_radius;
};

class LevelFilter {
public:
    LevelFilter(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, std::byte* scratch) noexcept
        : m_src(src),
          m_radius(radius),
          m_rows(src, dst, 2 * radius + 1),
          m_sampled(src, radius),
          m_scratch(*new (scratch) MedianLevelScratch)
    {
        auto* at = reinterpret_cast<std::uint8_t*>(scratch + sizeof(MedianLevelScratch));
        for (std::size_t i = 0; i < medianPlanes(src); ++i, at += planeBytes(radius)) {
            m_samples[i] = at;
            m_medians[i] = at + planeBytes(radius) - medianBytes;
        }
    }

    static std::size_t scratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept
    {
        return sizeof(MedianLevelScratch) + medianPlanes(image) * planeBytes(radius);
    }

    /// Writes the medians of a patch with few levels. Otherwise nothing happens.
    bool run(const MedianPatches::Patch& patch) noexcept
    {
        if (!hasFewLevels(patch))
            return false;
        forEachRowOfBlocks(patch, [&](std::int64_t y, std::int64_t rows) { runRow(patch, y, rows); });
        return true;
    }

private:
    static constexpr std::size_t medianBytes = medianLevelRows * medianPatchColumns;

    /// An odd number of cache lines: rows of a block lie in different sets.
    static std::int64_t pitchOf(std::int64_t radius) noexcept
    {
        const std::int64_t lines = (medianPatchColumns + 2 * radius) / 64 + 2;
        return (lines + (lines + 1) % 2) * 64;
    }
    static std::size_t planeBytes(std::int64_t radius) noexcept
    {
        return static_cast<std::size_t>(pitchOf(radius) * (medianLevelRows + 2 * radius + 8)) + medianBytes;
    }

    template <class Body>
    static void forEachRowOfBlocks(const MedianPatches::Patch& patch, const Body& body) noexcept
    {
        for (std::int64_t y = patch.top; y < patch.bottom; y += medianLevelRows)
            body(y, std::min(medianLevelRows, patch.bottom - y));
    }
    /// From left to right; the last block of an image may lie over the one before.
    template <class Body>
    void forEachBlock(const MedianPatches::Patch& patch, const Body& body) const noexcept
    {
        for (std::int64_t x = patch.x; x < patch.end; x += medianLevelColumns)
            body(insideOf(x));
    }
    std::int64_t insideOf(std::int64_t x) const noexcept
    {
        return std::min(x, m_src.width - medianLevelColumns);
    }

    bool hasFewLevels(const MedianPatches::Patch& patch) noexcept
    {
        std::int64_t levels = 0, blocks = 0;
        for (std::size_t i = 0; i < medianPlanes(m_src); ++i)
            forEachRowOfBlocks(patch, [&](std::int64_t y, std::int64_t rows) {
                forEachBlock(patch, [&](std::int64_t x) {
                    const auto spread = m_sampled.of(x, y, rows, static_cast<std::int64_t>(i));
                    if (y == patch.top && x == insideOf(patch.x))
                        m_guesses[i] = static_cast<std::uint8_t>(spread.centre);
                    levels += spread.range;
                    ++blocks;
                });
            });
        return levels <= blocks * mostMedianLevels(m_radius);
    }

    /// A row of blocks.
    void runRow(const MedianPatches::Patch& patch, std::int64_t y, std::int64_t rows) noexcept
    {
        const std::int64_t first = insideOf(patch.x), columns = patch.end - first;
        readRows(first, y - m_radius, columns + 2 * m_radius, rows + 2 * m_radius);
        for (std::size_t i = 0; i < medianPlanes(m_src); ++i)
            forEachBlock(patch, [&](std::int64_t x) { runBlock(i, x - first, rows); });
        for (std::int64_t row = 0; row < rows; ++row) {
            std::array<const std::uint8_t*, 3> medians{};
            for (std::size_t i = 0; i < medianPlanes(m_src); ++i)
                medians[i] = m_medians[i] + row * medianPatchColumns;
            m_rows.write(first, y + row, columns, medians.data());
        }
    }

    /// The samples of the windows of a row of blocks. Kernels look at some more, which count for nothing.
    void readRows(std::int64_t first, std::int64_t y, std::int64_t columns, std::int64_t rows) noexcept
    {
        const std::int64_t pitch = pitchOf(m_radius);
        for (std::int64_t row = 0; row < rows + 8; ++row) {
            std::array<std::uint8_t*, 3> samples{};
            for (std::size_t i = 0; i < medianPlanes(m_src); ++i) {
                samples[i] = m_samples[i] + row * pitch;
                std::fill(samples[i] + (row < rows ? columns : 0), samples[i] + pitch, std::uint8_t{0});
            }
            if (row < rows)
                m_rows.read(first - m_radius, y + row, columns, samples.data());
        }
    }

    void runBlock(std::size_t plane, std::int64_t x, std::int64_t rows) noexcept
    {
        std::uint8_t* const medians = m_medians[plane] + x;
        m_kernels.find({.samples = m_samples[plane] + x,
                        .pitch = pitchOf(m_radius),
                        .rows = rows,
                        .window = 2 * m_radius + 1,
                        .guess = m_guesses[plane],
                        .most = static_cast<std::uint8_t>((1U << m_src.bitsPerSample) - 1),
                        .medians = medians,
                        .medianPitch = medianPatchColumns,
                        .scratch = &m_scratch});
        m_guesses[plane] = medians[rows / 2 * medianPatchColumns + medianLevelColumns - 1];
    }

    const SxImageBuf& m_src;
    std::int64_t m_radius;
    MedianPlanarRows<std::uint8_t> m_rows;
    SampledWindows m_sampled;
    const MedianLevelKernels& m_kernels = medianLevelKernels();
    MedianLevelScratch& m_scratch;
    std::array<std::uint8_t*, 3> m_samples{};
    std::array<std::uint8_t*, 3> m_medians{};

    std::array<std::uint8_t, 3> m_guesses{};
};

}  // namespace

bool hasLevelMedians(const SxImageInfo& image, std::int64_t radius) noexcept
{
    return hasType(image, UInt8) && radius >= smallestLevelRadius &&
           radius <= medianLevelKernels().largestRadius && image.width >= medianLevelColumns;
}

std::int64_t mostMedianLevels(std::int64_t radius) noexcept
{
    return std::min(2 * radius * radius / 5, 2000 / (radius + 60)) * medianLevelKernels().share / 100;
}

std::int64_t levelPatchRows(std::int64_t radius) noexcept
{
    return leastMedianPatchRows * (radius <= largestTileRadius ? 1 : 2 + radius / 50);
}

std::size_t levelScratchBytes(const SxImageInfo& image, std::int64_t radius) noexcept
{
    return LevelFilter::scratchBytes(image, radius);
}

void levelMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch,
                  MedianPatches& patches)
{
    const RowWork rows = workOn(src, dst).times(60);
    const RowWork work{patches.count(), rows.bytes * rows.rows / patches.count()};
    shareRows(work.rows, threadsFor(work), [&](int thread, std::int64_t index) noexcept {
        std::byte* const part = scratch.part(static_cast<std::size_t>(thread));
        if (LevelFilter(src, dst, radius, part).run(patches.at(index)))
            patches.take(index);
    });
}

}  // namespace ko
