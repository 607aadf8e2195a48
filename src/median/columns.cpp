#include "median/columns.h"

#include "base/dispatch.h"
#include "base/kernel_loops.h"
#include "median/column_block.h"
#include "median/column_codes.h"
#include "median/column_kernels.h"
#include "median/pick_kernels.h"

#include <algorithm>

namespace ko {

namespace {

/// Columns of windows up to this radius are counted in bytes.
constexpr std::int64_t largestRadiusOfByteCounts = 63;

/// Samples of one byte are their own codes, those of two bytes get codes of two.
template <class Sample, class Count>
class ColumnFilter {
public:
    ColumnFilter(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                 std::byte* scratch) noexcept
        : m_src(src),
          m_dst(dst),
          m_strip(strip),
          m_radius(radius),
          m_size(strip, radius, isCoded),
          m_memory(scratch, m_size, radius, isCoded, strip.bins)
    {
    }

    static std::size_t scratchBytes(const MedianStrip& strip, std::int64_t radius) noexcept
    {
        return Memory(nullptr, MedianBlockSize(strip, radius, isCoded), radius, isCoded, strip.bins).bytes;
    }

    void run(const MedianPatches& patches) noexcept
    {
        for (std::int64_t x = m_strip.firstColumn; x <= m_strip.lastColumn; x += m_size.columns) {
            const std::int64_t end = std::min<std::int64_t>(x + m_size.columns, m_strip.lastColumn + 1);
            for (std::int64_t y = m_strip.firstRow; y <= m_strip.lastRow; y += patches.patchRows())
                patches.forEachLeft(x, end, y, [&](MedianPatches::Run run) {
                    if (y == m_strip.firstRow || !patches.isRun(run, x, end, y - patches.patchRows()))
                        runPart(run, y, endOf(run, x, end, y, patches));
                });
        }
    }

private:
    static constexpr bool isCoded = medianIsCoded<Sample>;
    using Memory = MedianBlockMemory<Sample, Count>;
    using Sum = MedianSumOf<Count>;
    using Kernels = MedianColumnKernels<Sample, Count>;

    /// Behind the last row in which the same run of columns is left, from y on.
    std::int64_t endOf(MedianPatches::Run run, std::int64_t x, std::int64_t end, std::int64_t y,
                       const MedianPatches& patches) const noexcept
    {
        do
            y += patches.patchRows();
        while (y <= m_strip.lastRow && patches.isRun(run, x, end, y));
        return std::min<std::int64_t>(y, m_strip.lastRow + 1);
    }

    /// Rows y ... end - 1 of some columns.
    void runPart(MedianPatches::Run columns, std::int64_t y, std::int64_t end) noexcept
    {
        for (std::int64_t rows; y < end; y += rows) {
            rows = std::min(m_size.rows, end - y);
            for (std::int64_t channel = 0; channel < m_strip.channels; ++channel)
                runBlock(columns.first, y, columns.end - columns.first, rows, channel);
        }
    }

    void runBlock(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t rows,
                  std::int64_t channel) noexcept
    {
        m_block = MedianBlock::at<Sample>(m_src, columns, rows, m_radius, x, y, channel);
        if constexpr (isCoded)
            m_coding = MedianCoder<Count>(m_block, m_memory).run(most());
        constexpr std::int64_t bins = medianBins<Sample>;
        const MedianHistograms<Sample, Count> histograms{m_memory.high, m_memory.low, m_block.pitch + 1};
        std::fill_n(histograms.high, histograms.slots * bins, Count{0});
        std::fill_n(histograms.low, histograms.slots * bins * bins, Count{0});
        m_row = {.histograms = histograms,
                 .pixels = m_block.columns,
                 .window = m_block.window,
                 .wanted = m_memory.wanted,
                 .known = m_memory.known,
                 .medians = m_memory.medians,
                 .ranks = m_coding.isSorted ? m_memory.ranks : nullptr};

        std::int64_t counted = 0;  // rows
        for (std::int64_t row = m_block.top; row < std::min(m_block.window - 1, m_block.bottom); ++row)
            change(m_kernels.add, row, row);
        for (std::int64_t row = 0; row < m_block.rows; ++row) {
            const std::int64_t first = std::max(row, m_block.top);
            const std::int64_t end = std::min(row + m_block.window, m_block.bottom);
            const bool enters = row + m_block.window <= m_block.bottom, leaves = row > m_block.top;
            if (enters || leaves)
                change(!leaves   ? m_kernels.add
                       : !enters ? m_kernels.remove
                                 : m_kernels.replace,
                       end - 1, leaves ? first - 1 : first);
            if (end - first != std::exchange(counted, end - first))
                setWanted(counted);
            m_kernels.find(m_row);
            const std::int64_t at =
                (x * m_strip.channels + channel) * static_cast<std::int64_t>(sizeof(Sample));
            store(row, rowOf(m_dst, y + row) + at);
            fetchAhead<Sample, true, 0>(rowOf(m_dst, y + std::min(row + medianRowsAhead, m_block.rows - 1)) +
                                            at,
                                        m_block.columns * m_block.step);
        }
    }

    void change(typename Kernels::Change kernel, std::int64_t entering, std::int64_t leaving) const noexcept
    {
        const std::int64_t samples = m_block.right - m_block.left, slot = m_block.left + 1;
        if constexpr (isCoded)
            kernel(codes(entering), codes(leaving), 1, samples, slot, m_row.histograms);
        else
            kernel(m_block.row(entering), m_block.row(leaving), m_block.step, samples, slot,
                   m_row.histograms);
    }

    const std::uint16_t* codes(std::int64_t y) const noexcept
    {
        return m_memory.codes + y * m_block.pitch + m_block.left;
    }

    /// The lower middle of the samples that the windows have in the image.
    void setWanted(std::int64_t rows) noexcept
    {
        for (std::int64_t x = 0; x < m_block.columns; ++x) {
            const std::int64_t columns =
                std::min(x + m_block.window, m_block.right) - std::max(x, m_block.left);
            m_memory.wanted[x] = static_cast<Sum>((rows * columns + 1) / 2);
        }
    }

    void store(std::int64_t y, std::uint8_t* to) noexcept
    {
        const Sample* const medians = m_memory.medians;
        const std::int64_t step = m_block.step, columns = m_block.columns;
        if (m_coding.isSorted) {
            if constexpr (isCoded)
                storeSorted(y, to);
            return;
        }
        const auto least = static_cast<Sample>(m_coding.least), largest = most();
        const auto valueOf = [=](Sample median) {
            return std::min(static_cast<Sample>(median + least), largest);
        };
        // Samples next to each other have a loop of their own, which becomes vectors.
        if (step == 1) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t x = 0; x < columns; ++x)
                storeSample(to, x, valueOf(medians[x]));
        } else {
            for (std::int64_t x = 0; x < columns; ++x)
                storeSample(to, x * step, valueOf(medians[x]));
        }
    }

    void storeSorted(std::int64_t y, std::uint8_t* to) noexcept
    {
        medianPick<Count>()(m_row, m_memory.places, m_coding.shift, y, m_memory.found);
        for (std::int64_t x = 0; x < m_block.columns; ++x)
            storeSample(to, x * m_block.step, m_memory.values[m_memory.found[x]]);
    }

    Sample most() const noexcept { return static_cast<Sample>(m_strip.bins - 1); }

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    const MedianStrip& m_strip;
    std::int64_t m_radius;
    MedianBlockSize m_size;
    Memory m_memory;
    const Kernels& m_kernels = medianColumnKernels<Sample, Count>();

    MedianBlock m_block{};  ///< the one at hand
    MedianCoding m_coding{};
    MedianWindowRow<Sample, Count> m_row{};
};

/// Calls `body` with the types of samples and of counts.
template <class Body>
auto withTypes(ExImageDataType type, std::int64_t radius, const Body& body) noexcept
{
    const auto withSample = [&](auto sample) noexcept {
        return radius > largestRadiusOfByteCounts ? body(sample, std::uint16_t{})
                                                  : body(sample, std::uint8_t{});
    };
    return type == UInt8 ? withSample(std::uint8_t{}) : withSample(std::uint16_t{});
}

}  // namespace

std::size_t columnScratchBytes(const std::vector<MedianStrip>& strips, ExImageDataType type,
                               std::int64_t radius) noexcept
{
    std::size_t most = 0;
    for (const MedianStrip& strip : strips)
        most =
            std::max(most, withTypes(type, radius, [&](auto sample, auto count) noexcept {
                         return ColumnFilter<decltype(sample), decltype(count)>::scratchBytes(strip, radius);
                     }));
    return most;
}

void columnMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianStrip& strip, std::int64_t radius,
                   std::byte* scratch, const MedianPatches& patches) noexcept
{
    withTypes(src.dataType, radius, [&](auto sample, auto count) noexcept {
        ColumnFilter<decltype(sample), decltype(count)>(src, dst, strip, radius, scratch).run(patches);
    });
}

}  // namespace ko
