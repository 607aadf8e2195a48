// Codes of 12 bits for the deep samples of a block.
#pragma once

#include "base/kernel_loops.h"
#include "median/column_block.h"

#include <algorithm>
#include <span>
#include <utility>

namespace ko {

/// How codes became of samples. Where the block's values lie close enough together, a code is the distance
/// from the least of them. Otherwise the samples are sorted, each has a place in that order, and
/// 2^shift neighbours share a code.
struct MedianCoding {
    bool isSorted;
    std::uint16_t least;
    int shift;
};

template <class Count>
class MedianCoder {
public:
    MedianCoder(const MedianBlock& block, const MedianBlockMemory<std::uint16_t, Count>& memory) noexcept
        : m_block(block), m_memory(memory)
    {
    }

    /// Writes the codes of the samples; those above `most` count as `most`.
    MedianCoding run(std::uint16_t most) noexcept
    {
        std::uint16_t least = 65535, largest = 0;
        for (std::int64_t y = m_block.top; y < m_block.bottom; ++y) {
            const std::span<std::uint16_t> row = codes(y);
            fetchAhead<std::uint16_t, false, 0>(
                m_block.row(std::min(y + medianRowsAhead, m_block.bottom - 1)),
                (m_block.right - m_block.left) * m_block.step);
            copyRow(m_block.row(y), most, row);
            for (const std::uint16_t value : row) {
                least = std::min(least, value);
                largest = std::max(largest, value);
            }
        }
        if (largest - least >= medianCodes)
            return {true, 0, sort(least, largest)};
        if (largest < medianCodes)
            return {false, 0, 0};
        for (std::int64_t y = m_block.top; y < m_block.bottom; ++y)
            for (std::uint16_t& value : codes(y))
                value = static_cast<std::uint16_t>(value - least);
        return {false, least, 0};
    }

private:
    using Place = MedianPlaceOf<Count>;

    /// The part of row y that is in the image.
    std::span<std::uint16_t> codes(std::int64_t y) const noexcept
    {
        return {m_memory.codes + y * m_block.pitch + m_block.left,
                static_cast<std::size_t>(m_block.right - m_block.left)};
    }

    // Samples next to each other have a loop of their own, which becomes vectors.
    void copyRow(const std::uint8_t* from, std::uint16_t most, std::span<std::uint16_t> to) const noexcept
    {
        const auto samples = static_cast<std::int64_t>(to.size());
        std::uint16_t* const first = to.data();
        if (m_block.step == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t x = 0; x < samples; ++x)
                first[x] = std::min(loadSample<std::uint16_t>(from, x), most);
        } else {
            for (std::int64_t x = 0; x < samples; ++x)
                first[x] = std::min(loadSample<std::uint16_t>(from, x * m_block.step), most);
        }
    }

    /// Sorts by counting and replaces values by codes.
    int sort(std::uint16_t least, std::uint16_t largest) noexcept
    {
        const std::span<std::uint32_t> counts(m_memory.counts, std::size_t{largest} - least + 1);
        std::fill(counts.begin(), counts.end(), 0);
        for (std::int64_t y = m_block.top; y < m_block.bottom; ++y)
            for (const std::uint16_t value : codes(y))
                ++counts[static_cast<std::size_t>(value - least)];
        std::uint32_t sum = 0;
        for (std::uint32_t& count : counts)
            sum += std::exchange(count, sum);
        int shift = 0;
        while ((sum - 1) >> shift >= medianCodes)
            ++shift;
        // Copies, since what is written meanwhile might be anything.
        Place* const places = m_memory.places;
        std::uint16_t* const values = m_memory.values;
        std::uint32_t* const next = counts.data();
        for (std::int64_t y = m_block.top; y < m_block.bottom; ++y) {
            auto place = static_cast<Place>((static_cast<Place>(y) << (4 * sizeof(Place))) | m_block.left);
            for (std::uint16_t& code : codes(y)) {
                const std::uint16_t value = code;
                const std::uint32_t at = next[value - least]++;
                places[at] = place++;
                values[at] = value;
                code = static_cast<std::uint16_t>(at >> shift);
            }
        }
        return shift;
    }

    const MedianBlock& m_block;
    const MedianBlockMemory<std::uint16_t, Count>& m_memory;
};

}  // namespace ko
