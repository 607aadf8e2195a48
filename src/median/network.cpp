#include "median/network.h"

#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "median/network_kernels.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ko {

namespace {

constexpr int mostLines = 2 * largestNetworkRadius + 1;
constexpr std::int64_t pieceSamples = 256;
/// Rows that one thread filters at a time.
constexpr std::int64_t bandRows = 64;
/// A piece and what its windows reach into.
constexpr std::int64_t lineSamples = pieceSamples + 2 * largestNetworkRadius * medianRowChannels;

template <class T>
struct Line {
    std::array<T, lineSamples> samples;

    const std::uint8_t* bytes() const noexcept
    {
        return reinterpret_cast<const std::uint8_t*>(samples.data());
    }
    std::uint8_t* bytes() noexcept { return reinterpret_cast<std::uint8_t*>(samples.data()); }
};

/// Whole windows for the networks where the image has only a part of them. A window cut by q lines gets q
/// made up ones, half of whose samples are lower and half of them higher than all others (of an odd number,
/// one more is lower): its middle is then the lower middle of the part that exists.
template <class T>
class Fillers {
public:
    Fillers(int window, std::int64_t step) noexcept
    {
        m_low.samples.fill(0);
        m_high.samples.fill(std::numeric_limits<T>::max());
        // Repeats after `window` samples, so that every window sees the same mixture.
        for (std::int64_t i = 0; i < lineSamples; ++i)
            m_mixed.samples[static_cast<std::size_t>(i)] =
                i / step % window <= window / 2 ? T{0} : std::numeric_limits<T>::max();
    }

    /// Line `index` of `count` made up ones.
    const std::uint8_t* line(int index, int count) const noexcept
    {
        if (index == 0 && count % 2 != 0)
            return m_mixed.bytes();
        return index % 2 == 0 ? m_low.bytes() : m_high.bytes();
    }

private:
    Line<T> m_low, m_high, m_mixed;
};

template <class T>
class NetworkFilter {
public:
    NetworkFilter(const SxImageBuf& src, SxImageBuf& dst, int radius) noexcept
        : m_src(src),
          m_dst(dst),
          m_channels(src.channels),
          m_radius(radius),
          m_window(2 * radius + 1),
          m_most((1U << src.bitsPerSample) - 1),
          m_rowFillers(m_window, m_channels),
          m_columnFillers(m_window, 1)
    {
        const MedianRowKernels& kernels = medianRowKernels();
        m_kernel = (sizeof(T) == 1 ? kernels.u8 : kernels.u16)[static_cast<std::size_t>(radius)];
    }

    void run(const MedianScratch& scratch) const
    {
        shareRows((m_src.height + bandRows - 1) / bandRows, [&](int thread, std::int64_t band) noexcept {
            filterBand(band * bandRows, std::min<std::int64_t>((band + 1) * bandRows, m_src.height),
                       scratch.part(static_cast<std::size_t>(thread)));
        });
    }

private:
    std::uint8_t* sampleOf(SxImageBuf& image, std::int64_t x, std::int64_t y,
                           std::int64_t channel) const noexcept
    {
        return rowOf(image, y) + (x * m_channels + channel) * static_cast<std::int64_t>(sizeof(T));
    }
    const std::uint8_t* sampleOf(const SxImageBuf& image, std::int64_t x, std::int64_t y,
                                 std::int64_t channel) const noexcept
    {
        return rowOf(image, y) + (x * m_channels + channel) * static_cast<std::int64_t>(sizeof(T));
    }

    /// Medians along `count` lines, which are all or a part of those of a window.
    void filterLines(const std::uint8_t* const* lines, int count, std::uint8_t* dst, std::int64_t samples,
                     std::int64_t step, const Fillers<T>& fillers, std::byte* scratch) const noexcept
    {
        if (count == m_window) {
            m_kernel(lines, dst, samples, step, m_most, scratch);
            return;
        }
        std::array<const std::uint8_t*, mostLines> window{};
        for (int i = count; i < m_window; ++i)
            window[static_cast<std::size_t>(i)] = fillers.line(i - count, m_window - count);
        for (std::int64_t done = 0; done < samples; done += pieceSamples) {
            const std::int64_t offset = done * static_cast<std::int64_t>(sizeof(T));
            for (int i = 0; i < count; ++i)
                window[static_cast<std::size_t>(i)] = lines[i] + offset;
            m_kernel(window.data(), dst + offset, std::min(pieceSamples, samples - done), step, m_most,
                     scratch);
        }
    }

    /// Rows `top` ... `bottom` - 1. The columns at the sides follow while their rows are in the cache.
    void filterBand(std::int64_t top, std::int64_t bottom, std::byte* scratch) const noexcept
    {
        const std::int64_t inner = m_src.width - 2 * m_radius;
        for (std::int64_t y = top; y < bottom; ++y)
            filterRow(y, m_radius, inner, scratch);
        for (std::int64_t i = 0; i < m_radius; ++i) {
            filterColumn(i, top, bottom, scratch);
            filterColumn(m_src.width - 1 - i, top, bottom, scratch);
        }
    }

    void filterRow(std::int64_t y, std::int64_t x, std::int64_t columns, std::byte* scratch) const noexcept
    {
        std::array<const std::uint8_t*, mostLines> lines{};
        int count = 0;
        for (std::int64_t v = std::max<std::int64_t>(y - m_radius, 0);
             v <= std::min<std::int64_t>(y + m_radius, m_src.height - 1); ++v)
            lines[static_cast<std::size_t>(count++)] = sampleOf(m_src, x - m_radius, v, 0);
        filterLines(lines.data(), count, sampleOf(m_dst, x, y, 0), columns * m_channels, m_channels,
                    m_rowFillers, scratch);
    }

    /// Rows `top` ... `bottom` - 1 of a column whose windows are cut at the side.
    void filterColumn(std::int64_t x, std::int64_t top, std::int64_t bottom,
                      std::byte* scratch) const noexcept
    {
        const std::int64_t innerTop = std::max<std::int64_t>(top, m_radius);
        const std::int64_t innerBottom = std::min<std::int64_t>(bottom, m_src.height - m_radius);
        for (std::int64_t channel = 0; channel < m_channels; ++channel) {
            if (innerTop < innerBottom)
                filterInnerColumn(x, innerTop, innerBottom - innerTop, channel, scratch);
            for (std::int64_t y = top; y < std::min(innerTop, bottom); ++y)
                filterCorner(x, y, channel);
            for (std::int64_t y = std::max(top, innerBottom); y < bottom; ++y)
                filterCorner(x, y, channel);
        }
    }

    /// The column and its neighbours become rows for the while.
    void filterInnerColumn(std::int64_t x, std::int64_t y, std::int64_t rows, std::int64_t channel,
                           std::byte* scratch) const noexcept
    {
        std::array<Line<T>, mostLines> neighbours;
        std::array<const std::uint8_t*, mostLines> lines{};
        int count = 0;
        for (std::int64_t u = std::max<std::int64_t>(x - m_radius, 0);
             u <= std::min<std::int64_t>(x + m_radius, m_src.width - 1); ++u) {
            Line<T>& line = neighbours[static_cast<std::size_t>(count)];
            for (std::int64_t i = 0; i < rows + 2 * m_radius; ++i)
                line.samples[static_cast<std::size_t>(i)] =
                    loadSample<T>(sampleOf(m_src, u, y - m_radius + i, channel), 0);
            lines[static_cast<std::size_t>(count++)] = line.bytes();
        }
        Line<T> medians;
        filterLines(lines.data(), count, medians.bytes(), rows, 1, m_columnFillers, scratch);
        for (std::int64_t i = 0; i < rows; ++i)
            storeSample(sampleOf(m_dst, x, y + i, channel), 0, medians.samples[static_cast<std::size_t>(i)]);
    }

    /// A window cut twice is sorted by itself.
    void filterCorner(std::int64_t x, std::int64_t y, std::int64_t channel) const noexcept
    {
        std::array<T, mostLines * mostLines> window{};
        auto end = window.begin();
        for (std::int64_t v = std::max<std::int64_t>(y - m_radius, 0);
             v <= std::min<std::int64_t>(y + m_radius, m_src.height - 1); ++v)
            for (std::int64_t u = std::max<std::int64_t>(x - m_radius, 0);
                 u <= std::min<std::int64_t>(x + m_radius, m_src.width - 1); ++u)
                *end++ = loadSample<T>(sampleOf(m_src, u, v, channel), 0);
        const auto middle = window.begin() + (end - window.begin() - 1) / 2;
        std::nth_element(window.begin(), middle, end);
        storeSample(sampleOf(m_dst, x, y, channel), 0, std::min(*middle, static_cast<T>(m_most)));
    }

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    int m_channels;
    int m_radius;
    int m_window;
    std::uint32_t m_most;
    Fillers<T> m_rowFillers;
    Fillers<T> m_columnFillers;
    MedianRow m_kernel;
};

}  // namespace

std::size_t networkScratchBytes() noexcept
{
    return medianRowScratch;
}

void sortMedians(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius, const MedianScratch& scratch)
{
    if (hasType(src, UInt8))
        NetworkFilter<std::uint8_t>(src, dst, static_cast<int>(radius)).run(scratch);
    else
        NetworkFilter<std::uint16_t>(src, dst, static_cast<int>(radius)).run(scratch);
}

}  // namespace ko
