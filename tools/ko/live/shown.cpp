#include "live/shown.h"

#include "cli/failure.h"
#include "io/bayer.h"
#include "io/parts.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace ko::tool {
namespace {

constexpr int mostTableBits = 12;  // more would leave the fastest cache and show nothing new in 8 bits

/// The levels of the screen by the upper bits of the levels of the sensor.
class Tables {
public:
    Tables(int bits, const Look& look) : m_shift(std::max(0, bits - mostTableBits))
    {
        const auto top = static_cast<std::size_t>((1 << std::min(bits, mostTableBits)) - 1);
        for (std::size_t channel = 0; channel < m_levels.size(); ++channel) {
            std::vector<std::uint8_t>& levels = m_levels[channel];
            levels.resize(top + 1);
            for (std::size_t i = 0; i <= top; ++i) {
                const double light = static_cast<double>(i) / static_cast<double>(top) * look.gains[channel];
                levels[i] = static_cast<std::uint8_t>(std::lround(255 * std::min(1.0, curve(light, look))));
            }
        }
    }

    std::uint8_t operator()(int channel, std::uint32_t level) const
    {
        const std::vector<std::uint8_t>& levels = m_levels[static_cast<std::size_t>(channel)];
        return levels[std::min<std::size_t>(level >> m_shift, levels.size() - 1)];
    }

private:
    static double curve(double light, const Look& look)
    {
        if (!look.isLinear)
            return light;
        return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    }

    int m_shift;
    std::array<std::vector<std::uint8_t>, 3> m_levels;
};

/// Adds the samples of rows to sums of three colours for each group of pixels or cells.
template <class T>
class Summing {
public:
    Summing(const SxImageBuf& frame, int group) : m_frame(frame), m_group(group)
    {
        for (int i = 0; i < 2 && isMosaic(); ++i)
            for (int j = 0; j < 2; ++j)
                m_colours[static_cast<std::size_t>(2 * i + j)] = colourAt(frame.bayerGrid, j, i);
    }

    bool isMosaic() const { return m_frame.bayerGrid != BayerNone; }
    int unit() const { return isMosaic() ? 2 : 1; }
    int channels() const { return isMosaic() || m_frame.channels >= 3 ? 3 : 1; }

    /// Adds the row of units that begins with row `y` of the frame.
    void add(int y, std::vector<std::uint32_t>& sums, int width) const
    {
        if (isMosaic()) {
            addSites(y, 0, sums, width);
            addSites(y + 1, 2, sums, width);
        } else {
            addPixels(y, sums, width);
        }
    }

    /// How many samples of a colour are in a group.
    std::uint32_t samples(int channel) const
    {
        return static_cast<std::uint32_t>(m_group * m_group) * (isMosaic() && channel == 1 ? 2 : 1);
    }

private:
    const T* row(int y) const
    {
        return reinterpret_cast<const T*>(m_frame.data + std::int64_t{y} * m_frame.stride);
    }

    void addSites(int y, std::size_t firstColour, std::vector<std::uint32_t>& sums, int width) const
    {
        const T* from = row(y);
        std::uint32_t* even = sums.data() + m_colours[firstColour];
        std::uint32_t* odd = sums.data() + m_colours[firstColour + 1];
        for (int x = 0; x < width; ++x, even += 3, odd += 3)
            for (int i = 0; i < m_group; ++i, from += 2) {
                *even += from[0];
                *odd += from[1];
            }
    }

    void addPixels(int y, std::vector<std::uint32_t>& sums, int width) const
    {
        const T* from = row(y);
        const int count = channels();
        std::uint32_t* to = sums.data();
        for (int x = 0; x < width; ++x, to += count)
            for (int i = 0; i < m_group; ++i, from += m_frame.channels)
                for (int channel = 0; channel < count; ++channel)
                    to[channel] += from[channel];
    }

    const SxImageBuf& m_frame;
    const int m_group;
    std::array<int, 4> m_colours{};
};

template <class T>
Image overviewOf(const SxImageBuf& frame, const Tables& tables)
{
    const int unit = frame.bayerGrid != BayerNone ? 2 : 1;
    int group = 1;
    while (pixelCount(frame) > mostShownPixels * unit * unit * group * group)
        ++group;
    const Summing<T> summing(frame, group);
    const int channels = summing.channels();
    Image result(frame.width / (unit * group), frame.height / (unit * group), channels, UInt8);
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(result->width) *
                                    static_cast<std::size_t>(channels));
    for (int y = 0; y < result->height; ++y) {
        std::ranges::fill(sums, 0U);
        for (int i = 0; i < group; ++i)
            summing.add((y * group + i) * unit, sums, result->width);
        std::uint8_t* to = rowOf<std::uint8_t>(result, y);
        for (int channel = 0; channel < channels; ++channel) {
            // Dividing takes longer than all the rest.
            const std::uint64_t share = (std::uint64_t{1} << 32) / summing.samples(channel) + 1;
            for (std::size_t i = static_cast<std::size_t>(channel); i < sums.size();
                 i += static_cast<std::size_t>(channels))
                to[i] = tables(channel, static_cast<std::uint32_t>(sums[i] * share >> 32));
        }
    }
    return result;
}

template <class T>
void toned(const Image& colours, const Tables& tables, Image& result)
{
    for (int y = 0; y < result->height; ++y) {
        const T* from = rowOf<T>(colours, y);
        std::uint8_t* to = rowOf<std::uint8_t>(result, y);
        for (int x = 0; x < result->width; ++x, from += colours->channels)
            for (int channel = 0; channel < result->channels; ++channel)
                *to++ = tables(channel, from[channel]);
    }
}

/// The samples of a region with all their colours.
Image coloursOf(const SxImageBuf& frame, const QRect& region)
{
    Image colours(
        resized(frame, region.width(), region.height(), frame.bayerGrid != BayerNone ? 3 : frame.channels));
    if (frame.bayerGrid != BayerNone)
        require(DemosaicMalvar(frame, region, *colours, nullptr), "DemosaicMalvar");
    else
        require(CopyBuffer(frame, region, *colours, {0, 0}, false), "CopyBuffer");
    return colours;
}

}  // namespace

void requireShowable(const SxImageInfo& frame)
{
    const bool hasLevels = frame.dataType == UInt8 || frame.dataType == UInt16;
    const bool hasColours = frame.channels == 1 || frame.channels == 3 || frame.channels == 4;
    const int least = frame.bayerGrid != BayerNone ? 2 : 1;
    if (!hasLevels || !hasColours || frame.packing != Interleaved || frame.width < least ||
        frame.height < least)
        throw std::runtime_error("frames of this format cannot be shown");
}

Image overview(const SxImageBuf& frame, const Look& look)
{
    const Tables tables(frame.bitsPerSample, look);
    return frame.dataType == UInt8 ? overviewOf<std::uint8_t>(frame, tables)
                                   : overviewOf<std::uint16_t>(frame, tables);
}

Image detail(const SxImageBuf& frame, QRect& region, const Look& look)
{
    region.setSize(region.size().boundedTo({frame.width, frame.height}).expandedTo({1, 1}));
    region.moveTo(std::clamp(region.x(), 0, frame.width - region.width()),
                  std::clamp(region.y(), 0, frame.height - region.height()));
    const Image colours = coloursOf(frame, region);
    Image result(region.width(), region.height(), colours->channels >= 3 ? 3 : 1, UInt8);
    const Tables tables(frame.bitsPerSample, look);
    if (frame.dataType == UInt8)
        toned<std::uint8_t>(colours, tables, result);
    else
        toned<std::uint16_t>(colours, tables, result);
    return result;
}

}  // namespace ko::tool
