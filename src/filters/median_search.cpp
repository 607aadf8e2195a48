#include "filters/median_search.h"

#include "core/image_view.h"
#include "filters/median_block.h"
#include "filters/median_search_kernels.h"

#include <array>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace ko {

namespace {

constexpr std::uint8_t outside = 255;  ///< code of what is not in the image

template <class Sample, class Count, class Place>
class BlockSearch {
public:
    BlockSearch(const SxImageBuf& src, SxImageBuf& dst, MedianTile& tile, std::int64_t radius) noexcept
        : m_src(src),
          m_dst(dst),
          m_tile(tile),
          m_radius(radius),
          m_window(2 * radius + 1),
          m_block(tile.lastColumn - tile.firstColumn + 1, tile.lastRow - tile.firstRow + 1, radius, isDeep),
          m_memory(tile.scratch.data(), m_block, radius, isDeep)
    {
    }

    void run() noexcept
    {
        for (std::int64_t y = m_tile.firstRow; y <= m_tile.lastRow; y += m_block.rows)
            for (std::int64_t x = m_tile.firstColumn; x <= m_tile.lastColumn; x += m_block.columns)
                for (std::int64_t channel = 0; channel < m_tile.channels; ++channel)
                    runBlock(x, y, channel);
    }

private:
    static constexpr bool isDeep = sizeof(Sample) > 1;
    using Placed = typename MedianPlaced<Place>::Type;
    static constexpr int placeBits = MedianPlaced<Place>::bits;

    void runBlock(std::int64_t x, std::int64_t y, std::int64_t channel) noexcept
    {
        m_x = x;
        m_y = y;
        m_channel = channel;
        m_columns = std::min(m_block.columns, m_tile.lastColumn - x + 1);
        m_rows = std::min(m_block.rows, m_tile.lastRow - y + 1);
        m_pitch = m_columns + 2 * m_radius;
        m_foundPitch = wholeVectors(m_columns);
        m_left = std::max<std::int64_t>(m_radius - x, 0);
        m_right = std::min(m_pitch, m_src.width - x + m_radius);
        m_top = std::max<std::int64_t>(m_radius - y, 0);
        m_bottom = std::min(m_rows + 2 * m_radius, m_src.height - y + m_radius);
        int codes = 256;
        if constexpr (isDeep)
            codes = sortSamples();
        else
            copySamples();
        rankMedians();
        startSearch();
        search(codes);
        store();
    }

    /// Samples of this channel in row `y` of the block, borders included; the first is that of the block's
    /// column `m_left`.
    const std::uint8_t* sourceRow(std::int64_t y) const noexcept
    {
        return rowOf(m_src, m_y - m_radius + y) + ((m_x - m_radius + m_left) * m_tile.channels + m_channel) *
                                                      static_cast<std::int64_t>(sizeof(Sample));
    }

    bool isInterior() const noexcept
    {
        return m_left == 0 && m_top == 0 && m_right == m_pitch && m_bottom == m_rows + 2 * m_radius;
    }

    void copySamples() noexcept
    {
        if (!isInterior())
            std::memset(m_memory.codes, outside, static_cast<std::size_t>(m_pitch * (m_rows + 2 * m_radius)));
        for (std::int64_t y = m_top; y < m_bottom; ++y) {
            const std::uint8_t* from = sourceRow(y);
            std::uint8_t* to = m_memory.codes + y * m_pitch;
            if (m_tile.channels == 1)
                std::memcpy(to + m_left, from, static_cast<std::size_t>(m_right - m_left));
            else
                for (std::int64_t x = m_left; x < m_right; ++x, from += m_tile.channels)
                    to[x] = *from;
        }
    }

    /// Calls `visit(value, x, y)` for the samples that are in the image.
    template <class Visit>
    void forEachSample(const Visit& visit) const noexcept
    {
        const std::int64_t step = m_tile.channels;
        for (std::int64_t y = m_top; y < m_bottom; ++y) {
            const std::uint8_t* const row = sourceRow(y);
            for (std::int64_t x = m_left; x < m_right; ++x)
                visit(loadSample<std::uint16_t>(row, (x - m_left) * step), x, y);
        }
    }

    /// Sorts the samples by value, least significant byte first, and codes them by their place in that order.
    int sortSamples() noexcept
    {
        std::array<std::uint32_t, 256> low{}, high{};
        forEachSample([&](std::uint16_t value, std::int64_t, std::int64_t) noexcept {
            ++low[value & 255];
            ++high[value >> 8];
        });
        const std::uint32_t count = sumUp(low);
        sumUp(high);
        const int codes = startCodes(count);
        if (!isInterior())
            std::memset(m_memory.codes, outside, static_cast<std::size_t>(m_pitch * (m_rows + 2 * m_radius)));
        forEachSample([&](std::uint16_t value, std::int64_t x, std::int64_t y) noexcept {
            m_memory.placed[low[value & 255]++] = static_cast<Placed>(
                (static_cast<Placed>(y) << (placeBits + 16)) | (static_cast<Placed>(x) << 16) | value);
        });
        constexpr Placed mask = (Placed{1} << placeBits) - 1;
        for (std::uint32_t i = 0; i < count; ++i) {
            const Placed sample = m_memory.placed[i];
            const auto value = static_cast<std::uint16_t>(sample);
            put(high[value >> 8]++, value, static_cast<Place>((sample >> 16) & mask),
                static_cast<Place>(sample >> (16 + placeBits)));
        }
        return codes;
    }

    /// Divides `count` sorted samples into codes of about 64.
    int startCodes(std::uint32_t count) noexcept
    {
        const std::uint32_t codes = std::clamp<std::uint32_t>(count / 64, 1, 255);
        m_scale = (std::uint64_t{codes} << 32) / count;
        for (std::uint32_t code = 0; code < codes; ++code)
            m_memory.starts[code] =
                static_cast<std::uint32_t>(((std::uint64_t{code} << 32) + m_scale - 1) / m_scale);
        return static_cast<int>(codes);
    }

    void put(std::uint32_t at, std::uint16_t value, Place x, Place y) noexcept
    {
        m_memory.values[at] = value;
        m_memory.x[at] = x;
        m_memory.y[at] = y;
        m_memory.codes[std::int64_t{y} * m_pitch + x] = static_cast<std::uint8_t>((at * m_scale) >> 32);
    }

    /// Turns counts into places; the result is the number of samples.
    static std::uint32_t sumUp(std::array<std::uint32_t, 256>& counts) noexcept
    {
        std::uint32_t sum = 0;
        for (std::uint32_t& count : counts)
            sum += std::exchange(count, sum);
        return sum;
    }

    /// The lower median of n samples is the one with rank (n + 1) / 2.
    void rankMedians() noexcept
    {
        m_wantedPitch = isInterior() ? 0 : m_foundPitch;
        const std::int64_t rows = isInterior() ? 1 : m_rows;
        for (std::int64_t y = 0; y < rows; ++y) {
            const std::int64_t high = std::min(m_bottom, y + m_window) - std::max(m_top, y);
            for (std::int64_t x = 0; x < m_columns; ++x) {
                const std::int64_t wide = std::min(m_right, x + m_window) - std::max(m_left, x);
                m_memory.wanted[y * m_wantedPitch + x] = static_cast<Count>((wide * high + 1) / 2 + lowest);
            }
        }
    }

    void startSearch() noexcept
    {
        for (std::int64_t y = 0; y < m_rows; ++y) {
            Count* const found = m_memory.found + y * m_foundPitch;
            std::fill(found, found + m_columns, Count{0});
            std::fill(found + m_columns, found + m_foundPitch, Count{outside});
            if constexpr (isDeep) {
                const Count* const wanted = m_memory.wanted + y * m_wantedPitch;
                for (std::int64_t x = 0; x < m_columns; ++x)
                    m_memory.rest[y * m_foundPitch + x] = static_cast<Count>(wanted[x] - lowest);
            }
        }
    }

    void search(int codes) noexcept
    {
        MedianSplit<Count> step{
            m_memory.rowCounts, m_pitch,        m_window,      m_columns,    m_rows, m_memory.wanted,
            m_wantedPitch,      m_memory.found, m_memory.rest, m_foundPitch, 0,      0};
        struct Range {
            int first;
            int half;
        };
        std::array<Range, 16> ranges{{{0, 128}}};
        for (int open = 1; open > 0;) {
            const auto [first, half] = ranges[--open];
            MedianOutcome outcome{true, false};
            if (first + half < codes) {
                m_kernels.countBelow(m_memory.codes, m_pitch * (m_rows + 2 * m_radius), m_window,
                                     first + half, m_memory.rowCounts);
                step.first = static_cast<Count>(first);
                step.half = static_cast<Count>(half);
                outcome = m_kernels.split(step);
            }
            if (half > 1 && outcome.someStayed)
                ranges[open++] = {first, half / 2};
            if (half > 1 && outcome.someMoved)
                ranges[open++] = {first + half, half / 2};
        }
    }

    void store() noexcept
    {
        const auto most = static_cast<std::uint32_t>(m_tile.bins - 1);
        const std::int64_t step = m_tile.channels;
        for (std::int64_t y = 0; y < m_rows; ++y) {
            std::uint8_t* const to =
                rowOf(m_dst, m_y + y) + (m_x * step + m_channel) * static_cast<std::int64_t>(sizeof(Sample));
            const Count* const found = m_memory.found + y * m_foundPitch;
            if constexpr (isDeep) {
                m_kernels.pick({m_memory.x, m_memory.y, m_memory.values, m_memory.starts}, found,
                               m_memory.rest + y * m_foundPitch, m_columns, y, m_window, m_memory.medians);
                for (std::int64_t x = 0; x < m_columns; ++x)
                    storeSample(to, x * step,
                                static_cast<Sample>(std::min<std::uint32_t>(m_memory.medians[x], most)));
            } else {
                for (std::int64_t x = 0; x < m_columns; ++x)
                    storeSample(to, x * step, static_cast<Sample>(std::min<std::uint32_t>(found[x], most)));
            }
        }
    }

    static constexpr std::int64_t lowest = std::numeric_limits<std::make_signed_t<Count>>::min();

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    MedianTile& m_tile;
    std::int64_t m_radius;
    std::int64_t m_window;
    MedianBlockSize m_block;
    MedianBlockMemory<Count, Place> m_memory;
    const MedianSearchKernels<Count, Place>& m_kernels = medianSearchKernels<Count, Place>();

    std::uint64_t m_scale = 0;  ///< codes per sample, times 2^32

    // The block at hand: its place, its size, and the part of it and its borders that is in the image.
    std::int64_t m_x = 0, m_y = 0, m_channel = 0;
    std::int64_t m_columns = 0, m_rows = 0;
    std::int64_t m_pitch = 0, m_foundPitch = 0, m_wantedPitch = 0;
    std::int64_t m_left = 0, m_right = 0, m_top = 0, m_bottom = 0;
};

/// Calls `body` with the unsigned types that count the samples of a window and hold coordinates in a block.
template <class Body>
auto withTypes(std::int64_t radius, const Body& body) noexcept
{
    switch (medianCounterWidth(radius)) {
    case 1:
        return body(std::uint8_t{}, std::uint8_t{});
    case 2:
        if (radius <= largestRadiusOfBytePlaces)
            return body(std::uint16_t{}, std::uint8_t{});
        return body(std::uint16_t{}, std::uint16_t{});
    default:
        return body(std::uint32_t{}, std::uint32_t{});
    }
}

}  // namespace

std::size_t medianScratchBytes(const MedianTile& tile, ExImageDataType type, std::int64_t radius) noexcept
{
    constexpr std::int64_t largestRadius = 32767;
    if (radius > largestRadius)
        return std::numeric_limits<std::size_t>::max();
    const bool isDeep = bytesPerSample(type) > 1;
    const MedianBlockSize block(tile.lastColumn - tile.firstColumn + 1, tile.lastRow - tile.firstRow + 1,
                                radius, isDeep);
    return withTypes(radius, [&](auto count, auto place) noexcept {
        return MedianBlockMemory<decltype(count), decltype(place)>(nullptr, block, radius,
                                                                   bytesPerSample(type) > 1)
            .bytes;
    });
}

void searchMedians(const SxImageBuf& src, SxImageBuf& dst, MedianTile& tile, std::int64_t radius) noexcept
{
    withTypes(radius, [&](auto count, auto place) noexcept {
        using Count = decltype(count);
        using Place = decltype(place);
        if (bytesPerSample(src.dataType) == 1)
            BlockSearch<std::uint8_t, Count, Place>(src, dst, tile, radius).run();
        else
            BlockSearch<std::uint16_t, Count, Place>(src, dst, tile, radius).run();
    });
}

}  // namespace ko
