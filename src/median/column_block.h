// Blocks of a strip, and the scratch memory that the histograms of their columns take.
#pragma once

#include "base/image_view.h"
#include "median/column_kernels.h"
#include "median/pick_kernels.h"
#include "median/plan.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Codes that deep samples can have, and values that are their own codes.
inline constexpr std::int64_t medianCodes = medianBins<std::uint16_t> * medianBins<std::uint16_t>;

/// Blocks are narrow: the processor's own prefetching does not see from one row to the next.
inline constexpr std::int64_t medianRowsAhead = 8;

/// Largest block of a strip: its histograms should fit into the second-level cache. Wider windows get larger
/// blocks, so that what is read around a block stays in proportion. Deep samples get lower ones, whose places
/// in ascending order fit, too; and these are numbered in 32 bits, so there are less than 65536 x 65536.
struct MedianBlockSize {
    std::int64_t columns;
    std::int64_t rows;

    MedianBlockSize(const MedianStrip& strip, std::int64_t radius, bool isDeep) noexcept
        : columns(std::min(std::int64_t{strip.lastColumn} - strip.firstColumn + 1,
                           sized(radius, isDeep ? 128 : 1024))),
          rows(std::int64_t{strip.lastRow} - strip.firstRow + 1)
    {
        if (isDeep)
            rows = std::min(rows, sized(radius, 512));
    }

private:
    static std::int64_t sized(std::int64_t radius, std::int64_t least) noexcept
    {
        return std::min(std::clamp<std::int64_t>(2 * radius, least, 1024), 65535 - 2 * radius);
    }
};

/// One channel of a block with the border that its windows reach into. Coordinates count from the border's
/// corner, which may lie outside the image.
struct MedianBlock {
    const std::uint8_t* corner;  ///< sample (left, top)
    std::int64_t stride;
    std::int64_t step;  ///< samples from one column to the next
    std::int64_t columns, rows;
    std::int64_t window;
    std::int64_t pitch;                     ///< columns, border included
    std::int64_t left, right, top, bottom;  ///< the part in the image: left ... right - 1, top ... bottom - 1

    /// The block whose first pixel is (x, y).
    template <class Sample>
    static MedianBlock at(const SxImageBuf& src, std::int64_t columns, std::int64_t rows, std::int64_t radius,
                          std::int64_t x, std::int64_t y, std::int64_t channel) noexcept
    {
        MedianBlock block{};
        block.stride = src.stride;
        block.step = src.channels;
        block.columns = columns;
        block.rows = rows;
        block.window = 2 * radius + 1;
        block.pitch = block.columns + 2 * radius;
        block.left = std::max<std::int64_t>(radius - x, 0);
        block.right = std::min(block.pitch, src.width - x + radius);
        block.top = std::max<std::int64_t>(radius - y, 0);
        block.bottom = std::min(block.rows + 2 * radius, src.height - y + radius);
        block.corner =
            rowOf(src, y - radius + block.top) +
            ((x - radius + block.left) * block.step + channel) * static_cast<std::int64_t>(sizeof(Sample));
        return block;
    }

    /// Sample (left, y).
    const std::uint8_t* row(std::int64_t y) const noexcept { return corner + (y - top) * stride; }
};

/// The arrays that a block takes, laid out one after the other.
template <class Code, class Count>
class MedianBlockMemory {
public:
    /// Without `memory` only `bytes` is of use.
    MedianBlockMemory(std::byte* memory, MedianBlockSize block, std::int64_t radius, bool isDeep,
                      std::int64_t levels) noexcept
        : m_memory(memory)
    {
        constexpr std::int64_t bins = medianBins<Code>;
        const std::int64_t pitch = block.columns + 2 * radius;
        const std::int64_t samples = pitch * (block.rows + 2 * radius);
        take(high, (pitch + 1) * bins);
        take(low, (pitch + 1) * bins * bins);
        take(known, 1);
        take(wanted, block.columns);
        take(medians, block.columns);
        if (isDeep)
            take(codes, samples);
        if (levels > medianCodes) {
            take(ranks, block.columns);
            take(counts, levels);
            take(places, samples + medianPlaceChunk);
            take(values, samples);
            take(found, block.columns);
        }
    }

    Count* high = nullptr;
    Count* low = nullptr;
    MedianLowSums<Code, Count>* known = nullptr;
    MedianSumOf<Count>* wanted = nullptr;
    Code* medians = nullptr;
    std::uint16_t* codes = nullptr;
    MedianSumOf<Count>* ranks = nullptr;
    std::uint32_t* counts = nullptr;
    MedianPlaceOf<Count>* places = nullptr;
    std::uint16_t* values = nullptr;
    std::uint32_t* found = nullptr;
    std::size_t bytes = 0;

private:
    /// Every array begins at a whole one.
    static constexpr std::size_t cacheLine = 64;

    template <class T>
    void take(T*& array, std::int64_t count) noexcept
    {
        if (m_memory != nullptr)
            array = reinterpret_cast<T*>(m_memory + bytes);
        const std::size_t size = static_cast<std::size_t>(count) * sizeof(T);
        bytes += (size + cacheLine - 1) / cacheLine * cacheLine;
    }

    std::byte* m_memory;
};

}  // namespace ko
