// Sorting the samples of a block, to search among their places in that order instead of their values.
#pragma once

#include "median/search_block.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace ko {

/// How a sorted block is divided: codes 1 ... `codes` - 1 of at most 64 * `chunks` samples each.
struct MedianCoding {
    int codes;
    int chunks;
};

template <class Count, class Place>
class MedianSorter {
public:
    MedianSorter(const MedianBlock& block, const MedianBlockMemory<Count, Place>& memory) noexcept
        : m_block(block), m_memory(memory)
    {
    }

    /// Sorts the places of the 16-bit samples by value and writes their codes.
    MedianCoding run() noexcept
    {
        const auto count =
            static_cast<std::uint32_t>((m_block.right - m_block.left) * (m_block.bottom - m_block.top));
        const MedianCoding coding = divide(count);
        std::uint16_t least = 65535, most = 0;
        forEachSample([&](std::uint16_t value, std::int64_t, std::int64_t) noexcept {
            least = std::min(least, value);
            most = std::max(most, value);
        });
        if (most - least < MedianBlockMemory<Count, Place>::countedValues)
            sortAtOnce(least, most);
        else
            sortByBytes(count);
        return coding;
    }

private:
    using Placed = typename MedianPlaced<Place>::Type;
    static constexpr int placeBits = MedianPlaced<Place>::bits;

    /// Calls `visit(value, x, y)` for the samples that are in the image.
    template <class Visit>
    void forEachSample(const Visit& visit) const noexcept
    {
        const MedianBlock block = m_block;  // a copy, since what is written meanwhile might be anything
        for (std::int64_t y = block.top; y < block.bottom; ++y) {
            const std::uint8_t* const row = block.row(y);
            for (std::int64_t x = block.left; x < block.right; ++x)
                visit(loadSample<std::uint16_t>(row, (x - block.left) * block.step), x, y);
        }
    }

    MedianCoding divide(std::uint32_t count) noexcept
    {
        constexpr std::uint32_t usualLength = 126, mostCodes = 254;  // little less than two chunks
        const std::uint32_t codes = std::min(count / usualLength + 1, mostCodes);
        std::uint32_t* const starts = m_memory.starts + 1;
        m_scale = (std::uint64_t{codes} << 32) / count;
        std::uint32_t longest = 0;
        for (std::uint32_t code = 0; code < codes; ++code) {
            starts[code] = static_cast<std::uint32_t>(((std::uint64_t{code} << 32) + m_scale - 1) / m_scale);
            if (code > 0)
                longest = std::max(longest, starts[code] - starts[code - 1]);
        }
        longest = std::max(longest, count - starts[codes - 1]);
        return {static_cast<int>(codes + 1), static_cast<int>((longest + 63) / 64)};
    }

    /// Values close together: one counter for each.
    void sortAtOnce(std::uint16_t least, std::uint16_t most) noexcept
    {
        const std::span<std::uint32_t> places(m_memory.counts, std::size_t{most} - least + 1);
        std::fill(places.begin(), places.end(), 0);
        forEachSample([=](std::uint16_t value, std::int64_t, std::int64_t) noexcept {
            ++places[static_cast<std::size_t>(value - least)];
        });
        sumUp(places);
        forEachSample([=, place = placing()](std::uint16_t value, std::int64_t x, std::int64_t y) noexcept {
            place(places[static_cast<std::size_t>(value - least)]++, static_cast<Place>(x),
                  static_cast<Place>(y));
        });
    }

    /// The least significant byte first.
    void sortByBytes(std::uint32_t count) noexcept
    {
        Placed* const placed = m_memory.placed;
        std::array<std::uint32_t, 256> low{}, high{};
        forEachSample([&](std::uint16_t value, std::int64_t, std::int64_t) noexcept {
            ++low[value & 255];
            ++high[value >> 8];
        });
        sumUp(low);
        sumUp(high);
        forEachSample([&low, placed](std::uint16_t value, std::int64_t x, std::int64_t y) noexcept {
            placed[low[value & 255]++] = static_cast<Placed>((static_cast<Placed>(y) << (placeBits + 16)) |
                                                             (static_cast<Placed>(x) << 16) | value);
        });
        const auto place = placing();
        constexpr Placed mask = (Placed{1} << placeBits) - 1;
        for (std::uint32_t i = 0; i < count; ++i) {
            const Placed sample = placed[i];
            place(high[(sample >> 8) & 255]++, static_cast<Place>((sample >> 16) & mask),
                  static_cast<Place>(sample >> (16 + placeBits)));
        }
    }

    /// Turns counts into places.
    static void sumUp(std::span<std::uint32_t> counts) noexcept
    {
        std::uint32_t sum = 0;
        for (std::uint32_t& count : counts)
            sum += std::exchange(count, sum);
    }

    /// Function that gives the sample at (x, y) its place in the order and its code.
    auto placing() const noexcept
    {
        return [xs = m_memory.x, ys = m_memory.y, codes = m_memory.codes, pitch = m_block.pitch,
                scale = m_scale](std::uint32_t at, Place x, Place y) noexcept {
            xs[at] = x;
            ys[at] = y;
            codes[std::int64_t{y} * pitch + x] = static_cast<std::uint8_t>(1 + ((at * scale) >> 32));
        };
    }

    const MedianBlock& m_block;
    const MedianBlockMemory<Count, Place>& m_memory;
    std::uint64_t m_scale = 0;  ///< codes per sample, times 2^32
};

}  // namespace ko
