#include "live/figures.h"

#include "io/bayer.h"
#include "plugin/focus.h"

#include <algorithm>
#include <vector>

namespace ko::tool {
namespace {

/// More than this between two colours is no light that a camera is used in.
constexpr double greatestGain = 16;

template <class T>
const T* rowOf(const SxImageBuf& frame, int y)
{
    return reinterpret_cast<const T*>(frame.data + std::int64_t{y} * frame.stride);
}

/// How often a colour has each level. Neighbours go into tables of their own, as adding to one number twice in a row
/// waits for the memory.
class Counter {
public:
    explicit Counter(int bits) : m_bits(bits)
    {
        for (std::vector<std::uint32_t>& counts : m_counts)
            counts.resize(std::size_t{1} << bits);
    }

    /// Counts the samples `from`, `from + step` ... of a row; those above the depth as its greatest level.
    template <class T>
    void count(const T* from, int samples, int step)
    {
        const auto top = static_cast<std::uint32_t>(m_counts[0].size() - 1);
        std::uint32_t* const even = m_counts[0].data();
        std::uint32_t* const odd = m_counts[1].data();
        int i = 0;
        for (; i + 1 < samples; i += 2) {
            ++even[std::min<std::uint32_t>(from[i * step], top)];
            ++odd[std::min<std::uint32_t>(from[(i + 1) * step], top)];
        }
        if (i < samples)
            ++even[std::min<std::uint32_t>(from[i * step], top)];
    }

    ColourFigures figures() const
    {
        ColourFigures figures;
        const std::size_t top = m_counts[0].size() - 1;
        for (std::size_t level = 0; level <= top; ++level) {
            const std::uint64_t count = std::uint64_t{m_counts[0][level]} + m_counts[1][level];
            figures.histogram[m_bits > 8 ? level >> (m_bits - 8) : level] += count;
            figures.samples += count;
            if (level == top)
                figures.clipped = count;
            else
                figures.sum += level * count;
        }
        return figures;
    }

private:
    const int m_bits;
    std::array<std::vector<std::uint32_t>, 2> m_counts;
};

template <class T>
void measure(const SxImageBuf& frame, Figures& figures)
{
    const bool isMosaic = frame.bayerGrid != BayerNone;
    const int bits = std::clamp(frame.bitsPerSample, 1, 16);
    std::array<Counter, 3> counters{Counter(bits), Counter(bits), Counter(bits)};
    for (int y = 0; y < frame.height; ++y) {
        const T* const row = rowOf<T>(frame, y);
        for (int i = 0; isMosaic && i < 2; ++i)
            counters[static_cast<std::size_t>(colourAt(frame.bayerGrid, i, y))].count(
                row + i, (frame.width + 1 - i) / 2, 2);
        for (int i = 0; !isMosaic && i < figures.colours; ++i)
            counters[static_cast<std::size_t>(i)].count(row + i, frame.width, frame.channels);
    }
    for (std::size_t i = 0; i < counters.size(); ++i)
        figures.of[i] = counters[i].figures();
    figures.focus = focusOf(frame);
}

}  // namespace

Figures figuresOf(const SxImageBuf& frame)
{
    Figures figures;
    figures.format = frame;
    figures.colours = frame.bayerGrid != BayerNone || frame.channels >= 3 ? 3 : 1;
    if (frame.dataType == UInt8)
        measure<std::uint8_t>(frame, figures);
    else
        measure<std::uint16_t>(frame, figures);
    return figures;
}

std::array<double, 3> grayWorldGains(const Figures& figures)
{
    std::array<double, 3> means{};
    for (std::size_t i = 0; i < means.size(); ++i)
        if (const std::uint64_t counted = figures.of[i].samples - figures.of[i].clipped)
            means[i] = static_cast<double>(figures.of[i].sum) / static_cast<double>(counted);
    std::array<double, 3> gains{1, 1, 1};
    if (std::ranges::min(means) > 0)
        for (std::size_t i = 0; i < gains.size(); ++i)
            gains[i] = std::clamp(means[1] / means[i], 1 / greatestGain, greatestGain);
    return gains;
}

}  // namespace ko::tool
