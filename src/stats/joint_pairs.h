// Pairs of samples at the same place of two images, and the planes of joint histograms that take them.
#pragma once

#include "base/kernel_loops.h"
#include "stats/counting.h"
#include "stats/gathering.h"

#include <ko/histogram_containers.h>

#include <array>
#include <cstdint>
#include <span>

namespace ko {

/// Adds to a counter that wraps.
inline void addWrapping(int& counter, std::uint32_t count) noexcept
{
    counter = static_cast<int>(static_cast<std::uint32_t>(counter) + count);
}

/// One plane of a dense joint histogram.
class DensePlane {
public:
    DensePlane(const CxImageHistogram2D& hist, int plane) noexcept
        : m_rows(hist[plane]), m_levels(static_cast<std::uint32_t>(hist.levels()))
    {
    }

    std::uint32_t rowCount() const noexcept { return m_levels; }

    /// Adds `count` at a place, which need not exist.
    void add(std::uint32_t row, std::uint32_t column, std::uint32_t count) const noexcept
    {
        if (row < m_levels && column < m_levels)
            addWrapping(m_rows[row][column], count);
    }

    /// Adds 1 at each of these columns of a row that exists; the columns need not.
    void addOnes(std::uint32_t row, std::span<const std::uint16_t> columns) const noexcept
    {
        int* const counters = m_rows[row];
        const std::uint32_t levels = m_levels;
        for (const std::uint16_t column : columns) {
            if (column < levels)
                addWrapping(counters[column], 1);
        }
    }

private:
    int** m_rows;
    std::uint32_t m_levels;
};

/// One plane of a sparse joint histogram. It takes any column.
class SparsePlane {
public:
    SparsePlane(CxImageHistogramSparse2D& hist, int plane)
        : m_rows(hist[plane].rows()), m_rowCount(static_cast<std::uint32_t>(hist[plane].rowCount()))
    {
    }

    std::uint32_t rowCount() const noexcept { return m_rowCount; }

    void add(std::uint32_t row, std::uint32_t column, std::uint32_t count) const
    {
        if (row < m_rowCount)
            addWrapping(m_rows[row][static_cast<std::int32_t>(column)], count);
    }

    /// Prepares a row that exists for that many further columns.
    void reserve(std::uint32_t row, std::size_t columns) const
    {
        m_rows[row].reserve(m_rows[row].size() + columns);
    }

private:
    TSparseMatrix<int>::Row* m_rows;
    std::uint32_t m_rowCount;
};

/// The pairs to count: a channel of each image over the same pixels.
struct ChannelPair {
    ChannelSamples<const std::uint8_t> first;   ///< select the columns
    ChannelSamples<const std::uint8_t> second;  ///< select the rows
    Selection selection;
    const SxImageBuf* sampleMask = nullptr;  ///< has a byte per sample of the images, not one per pixel
    int maskChannel = 0;                     ///< whose bytes of that count
};

/// The mask bytes of the channel for a run of pixels, where the mask is laid out sample by sample like the
/// images. A byte past the end of the mask's memory counts as 0.
inline void gatherSampleMask(const ChannelPair& pair, std::int64_t x, std::int64_t y, std::int64_t count,
                             std::uint8_t* out) noexcept
{
    const SxImageBuf& mask = *pair.sampleMask;
    const std::size_t memory = imageByteSize(mask);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t offset = y * mask.stride + (x + i) * pair.first.step + pair.maskChannel;
        out[i] = static_cast<std::size_t>(offset) < memory ? mask.data[offset] : std::uint8_t{0};
    }
}

/// Calls `visit(firsts, seconds, count)` with runs of the samples of both images, side by side; without `NeedsFirsts`
/// those of the first image are undefined.
template <class T, bool NeedsFirsts = true, class Visit>
void forEachPairRun(const ChannelPair& pair, const Visit& visit)
{
    using Buffer = std::array<std::uint8_t, longestRun * sizeof(T)>;
    Buffer firsts, seconds;
    std::array<std::uint8_t, longestRun> sampleMask;
    const SelectRun select = selectKernels().select.of<T>();
    const auto together = [](const std::uint8_t* samples, std::int64_t step, std::int64_t count,
                             Buffer& buffer) {
        if (step == 1)
            return samples;
        gatherChannel<T>(samples, step, count, buffer.data());
        return static_cast<const std::uint8_t*>(buffer.data());
    };
    forEachRun<longestRun>(
        pair.selection, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
            const std::uint8_t* first = firsts.data();
            if constexpr (NeedsFirsts)
                first = together(pair.first.at<T>(x, y), pair.first.step, count, firsts);
            const std::uint8_t* second = together(pair.second.at<T>(x, y), pair.second.step, count, seconds);
            if (pair.sampleMask != nullptr) {
                gatherSampleMask(pair, x, y, count, sampleMask.data());
                mask = sampleMask.data();
            }
            if (mask != nullptr) {
                if constexpr (NeedsFirsts)
                    select(first, mask, count, firsts.data());
                count = select(second, mask, count, seconds.data());
                first = firsts.data();
                second = seconds.data();
            }
            visit(first, second, count);
        });
}

/// Makes 16-bit units of pairs of bytes. On its own, where the compiler sees that no store can change a
/// pointer.
inline void joinBytes(const std::uint8_t* lows, const std::uint8_t* highs, std::int64_t count,
                      std::uint8_t* units) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < count; ++i) {
        units[2 * i] = lows[i];
        units[2 * i + 1] = highs[i];
    }
}

}  // namespace ko
