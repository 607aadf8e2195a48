#include "median/search.h"

#include "median/outside.h"
#include "median/search_block.h"
#include "median/search_kernels.h"
#include "median/search_sorter.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ko {

namespace {

template <class Sample, class Count, class Place>
class BlockSearch {
public:
    BlockSearch(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                std::byte* scratch) noexcept
        : m_src(src),
          m_dst(dst),
          m_strip(strip),
          m_radius(radius),
          m_outside(src, 2 * radius + 1),
          m_wanted(static_cast<Count>(((2 * radius + 1) * (2 * radius + 1) + 1) / 2)),
          m_size(strip, radius, isDeep),
          m_memory(scratch, m_size, radius, isDeep)
    {
    }

    void run() noexcept
    {
        for (std::int64_t y = m_strip.firstRow; y <= m_strip.lastRow; y += m_size.rows)
            for (std::int64_t x = m_strip.firstColumn; x <= m_strip.lastColumn; x += m_size.columns)
                for (std::int64_t channel = 0; channel < m_strip.channels; ++channel)
                    runBlock(x, y, channel);
    }

private:
    static constexpr bool isDeep = sizeof(Sample) > 1;

    void runBlock(std::int64_t x, std::int64_t y, std::int64_t channel) noexcept
    {
        m_block = MedianBlock::at<Sample>(m_src, m_strip, m_size, m_radius, x, y, channel);
        m_foundPitch = wholeVectors(m_block.columns);
        for (std::int64_t row = 0; row < m_block.sourceRows; ++row)
            m_outside.fillRow(x - m_radius, y - m_radius + row, m_block.pitch, 1,
                              m_memory.codes + row * m_block.pitch);
        MedianCoding coding{256, 0};
        if constexpr (isDeep)
            coding = MedianSorter<Count, Place>(m_block, m_memory).run();
        else
            copySamples();
        startSearch();
        search(coding.codes);
        for (std::int64_t row = 0; row < m_block.rows; ++row)
            store(row, coding.chunks,
                  rowOf(m_dst, y + row) +
                      (x * m_strip.channels + channel) * static_cast<std::int64_t>(sizeof(Sample)));
    }

    /// One-byte samples are their own codes.
    void copySamples() noexcept
    {
        for (std::int64_t y = m_block.top; y < m_block.bottom; ++y) {
            const std::uint8_t* const from = m_block.row(y);
            std::uint8_t* const to = m_memory.codes + y * m_block.pitch + m_block.left;
            const std::int64_t columns = m_block.right - m_block.left;
            if (m_block.step == 1)
                std::memcpy(to, from, static_cast<std::size_t>(columns));
            else
                for (std::int64_t x = 0; x < columns; ++x)
                    to[x] = from[x * m_block.step];
        }
    }

    void startSearch() noexcept
    {
        for (std::int64_t y = 0; y < m_block.rows; ++y) {
            Count* const found = m_memory.found + y * m_foundPitch;
            std::fill(found, found + m_block.columns, Count{0});
            std::fill(found + m_block.columns, found + m_foundPitch,
                      Count{255});  // the search never leaves this code
            if constexpr (isDeep)
                std::fill_n(m_memory.rest + y * m_foundPitch, m_block.columns, m_wanted);
        }
    }

    /// Halves the ranges of codes that pixels are still in.
    void search(int codes) noexcept
    {
        MedianSplit<Count> step{.rowCounts = m_memory.rowCounts,
                                .pitch = m_block.pitch,
                                .window = m_block.window,
                                .columns = m_block.columns,
                                .rows = m_block.rows,
                                .wanted = m_wanted,
                                .found = m_memory.found,
                                .rest = m_memory.rest,
                                .foundPitch = m_foundPitch,
                                .first = 0,
                                .half = 0};
        struct Range {
            int first;
            int half;
        };
        std::array<Range, 16> ranges{{{0, 128}}};
        for (std::size_t open = 1; open > 0;) {
            const auto [first, half] = ranges[--open];
            MedianOutcome outcome{true, false};
            if (first + half < codes) {
                m_kernels.countBelow(m_memory.codes, m_block.pitch * m_block.sourceRows, m_block.window,
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

    void store(std::int64_t y, int chunks, std::uint8_t* to) noexcept
    {
        const auto most = static_cast<Sample>(m_strip.bins - 1);
        const Count* const found = m_memory.found + y * m_foundPitch;
        if constexpr (isDeep) {
            m_kernels.pick({m_memory.x, m_memory.y, m_memory.starts, chunks}, found,
                           m_memory.rest + y * m_foundPitch, m_block.columns, y, m_block.window,
                           m_memory.picked);
            for (std::int64_t x = 0; x < m_block.columns; ++x) {
                const std::uint32_t at = m_memory.picked[x];
                const auto value = loadSample<Sample>(m_block.row(m_memory.y[at]),
                                                      (m_memory.x[at] - m_block.left) * m_block.step);
                storeSample(to, x * m_block.step, std::min(value, most));
            }
        } else {
            for (std::int64_t x = 0; x < m_block.columns; ++x)
                storeSample(to, x * m_block.step, std::min(static_cast<Sample>(found[x]), most));
        }
    }

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    const MedianStrip& m_strip;
    std::int64_t m_radius;
    Outside m_outside;
    Count m_wanted;  ///< rank of the median in a window
    MedianBlockSize m_size;
    MedianBlockMemory<Count, Place> m_memory;
    const MedianSearchKernels<Count, Place>& m_kernels = medianSearchKernels<Count, Place>();

    MedianBlock m_block{};  ///< the one at hand
    std::int64_t m_foundPitch = 0;
};

/// Calls `body` with the unsigned types that count the samples of a window and hold coordinates in a block.
template <class Body>
auto withTypes(std::int64_t radius, const Body& body) noexcept
{
    if (medianCounterWidth(radius) > 2)
        return body(std::uint32_t{}, std::uint32_t{});
    if (radius > largestRadiusOfBytePlaces)
        return body(std::uint16_t{}, std::uint16_t{});
    return body(std::uint16_t{}, std::uint8_t{});
}

}  // namespace

std::size_t searchScratchBytes(const std::vector<MedianStrip>& strips, ExImageDataType type,
                               std::int64_t radius) noexcept
{
    const bool isDeep = bytesPerSample(type) > 1;
    std::size_t most = 0;
    for (const MedianStrip& strip : strips)
        most =
            std::max(most, withTypes(radius, [&](auto count, auto place) noexcept {
                         using Memory = MedianBlockMemory<decltype(count), decltype(place)>;
                         return Memory(nullptr, MedianBlockSize(strip, radius, isDeep), radius, isDeep).bytes;
                     }));
    return most;
}

void searchMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                   std::byte* scratch) noexcept
{
    withTypes(radius, [&](auto count, auto place) noexcept {
        using Count = decltype(count);
        using Place = decltype(place);
        if (bytesPerSample(src.dataType) == 1)
            BlockSearch<std::uint8_t, Count, Place>(src, dst, strip, radius, scratch).run();
        else
            BlockSearch<std::uint16_t, Count, Place>(src, dst, strip, radius, scratch).run();
    });
}

}  // namespace ko
