#include "live/shown.h"

#include "cli/failure.h"
#include "commands/rendering.h"
#include "io/bayer.h"
#include "io/parts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ko::tool {
namespace {

constexpr int mostTableBits = 12;  // more would leave the fastest cache and show nothing new in 8 bits

/// Sums of the samples of each colour over groups of cells or pixels, one plane for each colour.
template <class T>
class Summing {
public:
    Summing(const SxImageBuf& frame, int group)
        : m_frame(frame),
          m_group(group),
          m_width(frame.width / (unit() * group)),
          m_sums(static_cast<std::size_t>(channels()) * static_cast<std::size_t>(m_width))
    {
    }

    int unit() const { return isMosaic() ? 2 : 1; }
    int channels() const { return isMosaic() || m_frame.channels >= 3 ? 3 : 1; }
    int width() const { return m_width; }
    const std::uint32_t* plane(int channel) const { return m_sums.data() + std::int64_t{channel} * m_width; }

    /// How many samples of a colour are in a group.
    std::uint32_t samples(int channel) const
    {
        return static_cast<std::uint32_t>(m_group * m_group) * (isMosaic() && channel == 1 ? 2 : 1);
    }

    /// Sums the groups of row `y` of the result.
    void sum(int y)
    {
        std::ranges::fill(m_sums, 0U);
        const int rows = unit() * m_group;
        for (int row = y * rows; row < (y + 1) * rows; ++row) {
            const T* from = reinterpret_cast<const T*>(m_frame.data + std::int64_t{row} * m_frame.stride);
            for (int i = 0; i < (isMosaic() ? 2 : channels()); ++i)
                add(from + i, isMosaic() ? colourAt(m_frame.bayerGrid, i, row) : i);
        }
    }

private:
    bool isMosaic() const { return m_frame.bayerGrid != BayerNone; }

    /// Adds the samples of one colour in a row.
    void add(const T* from, int channel)
    {
        std::uint32_t* const sums = m_sums.data() + std::int64_t{channel} * m_width;
        const int width = m_width;
        const int step = isMosaic() ? 2 : m_frame.channels;
        for (int i = 0, group = m_group; i < group; ++i)
            for (int x = 0; x < width; ++x)
                sums[x] += from[(x * group + i) * step];
    }

    const SxImageBuf& m_frame;
    const int m_group;
    const int m_width;
    std::vector<std::uint32_t> m_sums;
};

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

void Shower::prepare(const SxImageInfo& format, const Look& look)
{
    const bool isSame = m_tables.format.bitsPerSample == format.bitsPerSample &&
                        m_tables.format.dataType == format.dataType && m_tables.look == look;
    if (isSame)
        return;
    m_tables.format = format;
    m_tables.look = look;
    const int bits = std::clamp(format.bitsPerSample, 1, 16);
    m_tables.shift = std::max(0, bits - mostTableBits);
    const std::size_t size = (format.dataType == UInt8 ? 256U : 65536U) >> m_tables.shift;
    const auto top = static_cast<std::size_t>((1 << std::min(bits, mostTableBits)) - 1);
    const Curve curve = look.isLinear ? SrgbCurve : LinearCurve;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        std::vector<std::uint8_t>& levels = m_tables.levels[channel];
        levels.resize(size);
        for (std::size_t i = 0; i < size; ++i) {
            const double light =
                static_cast<double>(std::min(i, top)) / static_cast<double>(top) * look.gains[channel];
            levels[i] =
                i > top ? levels[top]
                        : static_cast<std::uint8_t>(std::lround(255 * std::min(1.0, encoded(light, curve))));
        }
    }
}

/// `levelAt(channel, x)` is a level of the sensor, of a sample of type `T`. What is written could be any of the members to
/// the compiler, so what does not change is held in variables. The colours of a pixel are stored at once, which takes half
/// the time.
template <class T, class LevelAt>
void Shower::applyTables(int width, int channels, std::uint8_t* to, const LevelAt& levelAt) const
{
    const int shift = sizeof(T) == 1 ? 0 : m_tables.shift;
    const std::array<const std::uint8_t*, 3> levels{m_tables.levels[0].data(), m_tables.levels[1].data(),
                                                    m_tables.levels[2].data()};
    if (channels == 1)
        for (int x = 0; x < width; ++x)
            to[x] = levels[0][levelAt(0, x) >> shift];
    else
        for (int x = 0; x < width; ++x) {
            const std::uint32_t red = levels[0][levelAt(0, x) >> shift];
            const std::uint32_t green = levels[1][levelAt(1, x) >> shift];
            const std::uint32_t blue = levels[2][levelAt(2, x) >> shift];
            const std::uint32_t pixel = red | green << 8 | blue << 16;
            std::memcpy(to + 4 * std::int64_t{x}, &pixel, sizeof pixel);
        }
}

/// One pixel for each cell of a mosaic.
template <class T>
Image Shower::cellsOf(const SxImageBuf& frame) const
{
    Image result(frame.width / 2, frame.height / 2, shownColours, UInt8);
    const bool isRedFirst = colourAt(frame.bayerGrid, 0, 0) == 0 || colourAt(frame.bayerGrid, 0, 1) == 0;
    const bool isRedAbove = colourAt(frame.bayerGrid, 0, 0) == 0 || colourAt(frame.bayerGrid, 1, 0) == 0;
    for (int y = 0; y < result->height; ++y) {
        const auto rowOfFrame = [&](bool isFirst) {
            return reinterpret_cast<const T*>(frame.data + (2 * std::int64_t{y} + !isFirst) * frame.stride);
        };
        const T* const reds = rowOfFrame(isRedAbove) + !isRedFirst;
        const T* const besideReds = rowOfFrame(isRedAbove) + isRedFirst;
        const T* const blues = rowOfFrame(!isRedAbove) + isRedFirst;
        const T* const besideBlues = rowOfFrame(!isRedAbove) + !isRedFirst;
        applyTables<T>(result->width, shownColours, rowOf<std::uint8_t>(result, y),
                       [=](int channel, int x) -> std::uint32_t {
                           const std::int64_t at = 2 * std::int64_t{x};
                           return channel == 0   ? reds[at]
                                  : channel == 2 ? blues[at]
                                                 : (std::uint32_t{besideReds[at]} + besideBlues[at]) / 2;
                       });
    }
    return result;
}

template <class T>
Image Shower::overviewOf(const SxImageBuf& frame) const
{
    const int unit = frame.bayerGrid != BayerNone ? 2 : 1;
    int group = 1;
    while (pixelCount(frame) > mostShownPixels * unit * unit * group * group)
        ++group;
    if (unit == 2 && group == 1)
        return cellsOf<T>(frame);
    Summing<T> summing(frame, group);
    const int channels = summing.channels();
    Image result(summing.width(), frame.height / (unit * group), channels == 1 ? 1 : shownColours, UInt8);
    // Dividing takes longer than all the rest.
    std::array<std::uint64_t, 3> shares{};
    std::array<const std::uint32_t*, 3> planes{};
    for (int i = 0; i < channels; ++i) {
        shares[static_cast<std::size_t>(i)] = (std::uint64_t{1} << 32) / summing.samples(i) + 1;
        planes[static_cast<std::size_t>(i)] = summing.plane(i);
    }
    for (int y = 0; y < result->height; ++y) {
        summing.sum(y);
        applyTables<T>(result->width, channels, rowOf<std::uint8_t>(result, y), [=](int channel, int x) {
            const auto i = static_cast<std::size_t>(channel);
            return static_cast<std::uint32_t>(planes[i][x] * shares[i] >> 32);
        });
    }
    return result;
}

template <class T>
void Shower::tone(const Image& colours, Image& result) const
{
    for (int y = 0; y < result->height; ++y) {
        const T* const from = rowOf<T>(colours, y);
        const int step = colours->channels;
        applyTables<T>(
            result->width, result->channels, rowOf<std::uint8_t>(result, y),
            [=](int channel, int x) { return std::uint32_t{from[std::int64_t{x} * step + channel]}; });
    }
}

Image Shower::overview(const SxImageBuf& frame, const Look& look)
{
    prepare(frame, look);
    return frame.dataType == UInt8 ? overviewOf<std::uint8_t>(frame) : overviewOf<std::uint16_t>(frame);
}

Image Shower::detail(const SxImageBuf& frame, QRect region, const Look& look)
{
    prepare(frame, look);
    region.setSize(region.size().boundedTo({frame.width, frame.height}).expandedTo({1, 1}));
    region.moveTo(std::clamp(region.x(), 0, frame.width - region.width()),
                  std::clamp(region.y(), 0, frame.height - region.height()));
    const Image colours = coloursOf(frame, region);
    Image result(region.width(), region.height(), colours->channels >= 3 ? shownColours : 1, UInt8);
    if (frame.dataType == UInt8)
        tone<std::uint8_t>(colours, result);
    else
        tone<std::uint16_t>(colours, result);
    return result;
}

}  // namespace ko::tool
