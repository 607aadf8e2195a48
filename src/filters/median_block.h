// Blocks of a strip, and the scratch memory that searching one takes.
#pragma once

#include "filters/median_plan.h"
#include "filters/median_search_kernels.h"

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
/// proportion. Blocks of deep samples are smaller: the fewer samples, the fewer codes to tell apart.
struct MedianBlockSize {
    std::int64_t columns;
    std::int64_t rows;

    MedianBlockSize(std::int64_t stripColumns, std::int64_t stripRows, std::int64_t radius,
                    bool isDeep) noexcept
        : columns(std::min(wholeVectors(stripColumns),
                           std::clamp<std::int64_t>(wholeVectors(2 * radius), isDeep ? 64 : 128, 1024))),
          rows(std::min(stripRows, std::clamp<std::int64_t>(2 * radius, 64, 1024)))
    {
    }
};

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

/// Largest radius whose blocks have coordinates of one byte.
inline constexpr std::int64_t largestRadiusOfBytePlaces = 64;

/// The arrays that searching a block takes, laid out one after the other.
template <class Count, class Place>
class MedianBlockMemory {
public:
    /// Without `memory` only `bytes` is of use.
    MedianBlockMemory(std::uint8_t* memory, MedianBlockSize block, std::int64_t radius, bool isDeep) noexcept
        : m_memory(memory)
    {
        const std::int64_t samples = (block.columns + 2 * radius) * (block.rows + 2 * radius);
        const std::int64_t pixels = wholeVectors(block.columns) * block.rows;
        take(codes, samples + 2 * radius);
        take(rowCounts, samples + 2 * radius);
        take(wanted, pixels);
        take(found, pixels);
        if (isDeep) {
            take(rest, pixels);
            take(x, samples);
            take(y, samples);
            take(values, samples);
            take(placed, samples);
            take(starts, 256);
            take(medians, block.columns);
        }
    }

    std::uint8_t* codes = nullptr;
    MedianRowCountOf<Count>* rowCounts = nullptr;
    Count* wanted = nullptr;
    Count* found = nullptr;
    Count* rest = nullptr;
    Place* x = nullptr;
    Place* y = nullptr;
    std::uint16_t* values = nullptr;
    typename MedianPlaced<Place>::Type* placed = nullptr;
    std::uint32_t* starts = nullptr;
    std::uint16_t* medians = nullptr;
    std::size_t bytes = 0;

private:
    template <class T>
    void take(T*& array, std::int64_t count) noexcept
    {
        if (m_memory != nullptr)
            array = reinterpret_cast<T*>(m_memory + bytes);
        const std::size_t size = static_cast<std::size_t>(count) * sizeof(T) + medianSlack;
        bytes += (size + 63) / 64 * 64;
    }

    std::uint8_t* m_memory;
};

}  // namespace ko
