#include "median/network.h"

#include "base/dispatch.h"
#include "base/image_view.h"
#include "median/bands.h"
#include "median/network_kernels.h"
#include "median/outside.h"

#include <algorithm>
#include <array>

namespace ko {

namespace {

constexpr int mostLines = 2 * largestNetworkRadius + 1;
constexpr std::int64_t pieceSamples = 256;
static_assert(medianBandRows <= pieceSamples, "columns of a band become rows");
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

template <class T>
class NetworkFilter {
public:
    NetworkFilter(const SxImageBuf& src, SxImageBuf& dst, std::int64_t radius) noexcept
        : m_src(src),
          m_dst(dst),
          m_channels(src.channels),
          m_radius(radius),
          m_window(static_cast<std::size_t>(2 * radius + 1)),
          m_most((1U << src.bitsPerSample) - 1),
          m_outside(src, 2 * radius + 1)
    {
        const MedianRowKernels& kernels = medianRowKernels();
        m_kernel = (sizeof(T) == 1 ? kernels.u8 : kernels.u16)[static_cast<std::size_t>(radius)];
    }

    void run(const MedianScratch& scratch) const
    {
        forEachMedianBand(workOn(m_src, m_dst).times(4 + 12 * m_radius),
                          [&](int thread, std::int64_t top, std::int64_t bottom) noexcept {
                              filterBand(top, bottom, scratch.part(static_cast<std::size_t>(thread)));
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

    /// Rows `top` ... `bottom` - 1. The columns at the sides follow while their rows are in the cache.
    void filterBand(std::int64_t top, std::int64_t bottom, std::byte* scratch) const noexcept
    {
        for (std::int64_t y = top; y < bottom; ++y)
            filterRow(y, scratch);
        for (std::int64_t i = 0; i < m_radius; ++i)
            for (std::int64_t channel = 0; channel < m_channels; ++channel) {
                filterColumn(i, top, bottom, channel, scratch);
                filterColumn(m_src.width - 1 - i, top, bottom, channel, scratch);
            }
    }

    /// The windows of a row that neither side cuts: all at once, or piece by piece where there are lines to
    /// make up.
    void filterRow(std::int64_t y, std::byte* scratch) const noexcept
    {
        const std::int64_t columns = m_src.width - 2 * m_radius;
        const bool isInside = y >= m_radius && y < m_src.height - m_radius;
        const std::int64_t most = isInside ? columns : pieceSamples / m_channels;
        std::array<const std::uint8_t*, mostLines> lines{};
        std::array<Line<T>, mostLines> outside;
        for (std::int64_t x = 0; x < columns; x += most) {
            const std::int64_t count = std::min(most, columns - x);
            for (std::size_t i = 0; i < m_window; ++i) {
                const std::int64_t v = y - m_radius + static_cast<std::int64_t>(i);
                if (v >= 0 && v < m_src.height) {
                    lines[i] = sampleOf(m_src, x, v, 0);
                    continue;
                }
                for (std::int64_t channel = 0; channel < m_channels; ++channel)
                    m_outside.fillRow(x, v, count + 2 * m_radius, m_channels,
                                      outside[i].samples.data() + channel);
                lines[i] = outside[i].bytes();
            }
            m_kernel(lines.data(), sampleOf(m_dst, x + m_radius, y, 0), count * m_channels, m_channels,
                     m_most, scratch);
        }
    }

    /// Rows `top` ... `bottom` - 1 of a column whose windows are cut at the side. The column and its
    /// neighbours become rows for the while.
    void filterColumn(std::int64_t x, std::int64_t top, std::int64_t bottom, std::int64_t channel,
                      std::byte* scratch) const noexcept
    {
        std::array<Line<T>, mostLines> neighbours;
        std::array<const std::uint8_t*, mostLines> lines{};
        const std::int64_t first = top - m_radius, end = bottom + m_radius;
        for (std::size_t i = 0; i < m_window; ++i) {
            const std::int64_t u = x - m_radius + static_cast<std::int64_t>(i);
            T* const to = neighbours[i].samples.data();
            if (u >= 0 && u < m_src.width)
                for (std::int64_t v = std::max<std::int64_t>(first, 0);
                     v < std::min<std::int64_t>(end, m_src.height); ++v)
                    to[v - first] = loadSample<T>(sampleOf(m_src, u, v, channel), 0);
            m_outside.fillColumn(u, first, end - first, to);
            lines[i] = neighbours[i].bytes();
        }
        Line<T> medians;
        m_kernel(lines.data(), medians.bytes(), bottom - top, 1, m_most, scratch);
        for (std::int64_t y = top; y < bottom; ++y)
            storeSample(sampleOf(m_dst, x, y, channel), 0,
                        medians.samples[static_cast<std::size_t>(y - top)]);
    }

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    std::int64_t m_channels;
    std::int64_t m_radius;
    std::size_t m_window;
    std::uint32_t m_most;
    Outside m_outside;
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
        NetworkFilter<std::uint8_t>(src, dst, radius).run(scratch);
    else
        NetworkFilter<std::uint16_t>(src, dst, radius).run(scratch);
}

}  // namespace ko
