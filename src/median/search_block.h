// Blocks of a strip, and the scratch memory that searching one takes.
#pragma once

#include "base/image_view.h"
#include "median/plan.h"
#include "median/search_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Rounds up to whole vectors of the widest kind.
constexpr std::int64_t wholeVectors(std::int64_t columns) noexcept
{
    return (columns + 63) / 64 * 64;
}

/// Largest block of a strip. Wider windows get larger blocks, so that what is read around a block stays in
/// proportion. Blocks of deep samples are narrower: the fewer samples, the fewer codes to tell apart.
struct MedianBlockSize {
    std::int64_t columns;
    std::int64_t rows;

    MedianBlockSize(const MedianStrip& strip, std::int64_t radius, bool isDeep) noexcept
        : columns(std::min(wholeVectors(std::int64_t{strip.lastColumn} - strip.firstColumn + 1),
                           std::clamp<std::int64_t>(wholeVectors(2 * radius), isDeep ? 64 : 128, 1024))),
          rows(std::min<std::int64_t>(std::int64_t{strip.lastRow} - strip.firstRow + 1,
                                      std::clamp<std::int64_t>(2 * radius, 64, 1024)))
    {
    }
};

/// One channel of a block with the border that its windows reach into. Coordinates count from the border's
/// corner, which may lie outside the image.
struct MedianBlock {
    const std::uint8_t* corner;  ///< sample (left, top)
    std::int64_t stride;
    std::int64_t step;  ///< samples from one column to the next
    std::int64_t columns, rows;
    std::int64_t radius, window;
    std::int64_t pitch;                     ///< columns, border included
    std::int64_t sourceRows;                ///< rows, border included
    std::int64_t left, right, top, bottom;  ///< the part in the image: left ... right - 1, top ... bottom - 1

    /// The block of `strip` whose first pixel is (x, y).
    template <class Sample>
    static MedianBlock at(const SxImageBuf& src, const MedianStrip& strip, MedianBlockSize size,
                          std::int64_t radius, std::int64_t x, std::int64_t y, std::int64_t channel) noexcept
    {
        MedianBlock block{};
        block.stride = src.stride;
        block.step = strip.channels;
        block.columns = std::min(size.columns, strip.lastColumn - x + 1);
        block.rows = std::min(size.rows, strip.lastRow - y + 1);
        block.radius = radius;
        block.window = 2 * radius + 1;
        block.pitch = block.columns + 2 * radius;
        block.sourceRows = block.rows + 2 * radius;
        block.left = std::max<std::int64_t>(radius - x, 0);
        block.right = std::min(block.pitch, src.width - x + radius);
        block.top = std::max<std::int64_t>(radius - y, 0);
        block.bottom = std::min(block.sourceRows, src.height - y + radius);
        block.corner =
            rowOf(src, y - radius + block.top) +
            ((x - radius + block.left) * block.step + channel) * static_cast<std::int64_t>(sizeof(Sample));
        return block;
    }

    /// Sample (left, y).
    const std::uint8_t* row(std::int64_t y) const noexcept { return corner + (y - top) * stride; }
};

/// Coordinates of one byte serve blocks of up to this radius.
inline constexpr std::int64_t largestRadiusOfBytePlaces = 64;

/// A sample with its place in the block while it is sorted: y, x, value from the highest bits on.
template <class Place>
struct MedianPlaced {
    using Type = std::uint64_t;
    static constexpr int bits = 24;  ///< of a coordinate
};
template <>
struct MedianPlaced<std::uint8_t> {
    using Type = std::uint32_t;
    static constexpr int bits = 8;
};

/// The arrays that searching a block takes, laid out one after the other.
template <class Count, class Place>
class MedianBlockMemory {
public:
    /// Values of a block that are not further apart than this are sorted in one go.
    static constexpr std::int64_t countedValues = 16384;

    /// Without `memory` only `bytes` is of use.
    MedianBlockMemory(std::byte* memory, MedianBlockSize block, std::int64_t radius, bool isDeep) noexcept
        : m_memory(memory)
    {
        const std::int64_t samples = (block.columns + 2 * radius) * (block.rows + 2 * radius);
        const std::int64_t pixels = wholeVectors(block.columns) * block.rows;
        take(codes, samples + 2 * radius);
        take(rowCounts, samples + 2 * radius);
        take(found, pixels);
        if (isDeep) {
            take(rest, pixels);
            take(x, samples);
            take(y, samples);
            take(placed, samples);
            take(counts, countedValues);
            take(starts, 256);
            take(picked, block.columns);
        }
    }

    std::uint8_t* codes = nullptr;
    MedianRowCountOf<Count>* rowCounts = nullptr;
    Count* found = nullptr;
    Count* rest = nullptr;
    Place* x = nullptr;
    Place* y = nullptr;
    typename MedianPlaced<Place>::Type* placed = nullptr;
    std::uint32_t* counts = nullptr;
    std::uint32_t* starts = nullptr;
    std::uint32_t* picked = nullptr;
    std::size_t bytes = 0;

private:
    /// Every array begins at a whole one.
    static constexpr std::size_t cacheLine = 64;

    template <class T>
    void take(T*& array, std::int64_t count) noexcept
    {
        if (m_memory != nullptr)
            array = reinterpret_cast<T*>(m_memory + bytes);
        const std::size_t size = static_cast<std::size_t>(count) * sizeof(T) + medianSlack;
        bytes += (size + cacheLine - 1) / cacheLine * cacheLine;
    }

    std::byte* m_memory;
};

}  // namespace ko
