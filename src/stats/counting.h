// Counting the channels of an image's pixels into histogram planes: the one body behind all histograms of one
// image.
#pragma once

#include "base/channels.h"
#include "base/dispatch.h"
#include "stats/gathering.h"
#include "stats/select_kernels.h"
#include "stats/tally_bands.h"

#include <QList>
#include <QPoint>

#include <algorithm>
#include <array>
#include <atomic>
#include <span>
#include <vector>

namespace ko {

/// Samples that are bin numbers, read without sign.
using BinNumbers = BySizeOf<Int8, UInt8, Int16, UInt16>;

/// The plane of every channel of an image, -1 for channels that are not counted; planar images may leave out
/// channels at the end. Made only when there is something to count: records may claim any number of channels
/// until their geometry has been checked.
using ChannelPlanes = std::vector<int>;

/// Channel c into plane c, as many as both have.
inline ChannelPlanes allChannels(const SxImageInfo& src, const CxImageHistogram& hist)
{
    const int counted = std::max(std::min(src.channels, hist.planes), 0);
    ChannelPlanes planes(static_cast<std::size_t>(isInterleaved(src) ? std::max(src.channels, 0) : counted),
                         -1);
    for (int c = 0; c < counted; ++c)
        planes[static_cast<std::size_t>(c)] = c;
    return planes;
}

/// One channel into one plane; nothing when the image has no such channel.
inline ChannelPlanes oneChannel(const SxImageBuf& src, int channel, int plane)
{
    const int physical = ChannelIndexLogicalToPhysical(channel, src);
    if (physical < 0 || physical >= src.channels)
        return {};
    ChannelPlanes planes(static_cast<std::size_t>(isInterleaved(src) ? src.channels : physical + 1), -1);
    planes[static_cast<std::size_t>(physical)] = plane;
    return planes;
}

/// Counts the samples of one plane run by run, with or without a mask.
template <class T>
class MaskedTally {
public:
    MaskedTally(const TallyTarget& target, int plane, TallyTables& tables) noexcept
        : m_plane(plane), m_tally(target, {&m_plane, 1}, tables)
    {
    }
    MaskedTally(const MaskedTally&) = delete;
    MaskedTally& operator=(const MaskedTally&) = delete;

    /// Room for a run of samples that the caller makes and then adds.
    std::uint8_t* buffer() noexcept { return m_buffer.data(); }

    /// Counts a run of samples that lie `step` apart, at most `longestRun`; `mask` is null where all are
    /// selected.
    void add(const std::uint8_t* samples, std::int64_t step, std::int64_t count,
             const std::uint8_t* mask) noexcept
    {
        if (step != 1) {
            gatherChannel<T>(samples, step, count, m_buffer.data());
            samples = m_buffer.data();
        }
        if (mask != nullptr) {
            count = m_select(samples, mask, count, m_buffer.data());
            samples = m_buffer.data();
        }
        m_tally.add(samples, count);
        m_selected += count;
    }

    /// Returns the number of samples selected.
    std::int64_t finish() noexcept
    {
        m_tally.finish();
        return m_selected;
    }

private:
    const int m_plane;
    Tally<T> m_tally;
    const SelectRun m_select = selectKernels().select.of<T>();
    std::int64_t m_selected = 0;
    std::array<std::uint8_t, longestRun * sizeof(T)> m_buffer;
};

template <class T>
std::int64_t countChannel(const SxImageBuf& src, int channel, const Selection& selection,
                          const TallyTarget& target, int plane, TallyTables& tables) noexcept
{
    MaskedTally<T> tally(target, plane, tables);
    const ChannelSamples<const std::uint8_t> samples = channelAt(src, channel);
    forEachRun<longestRun>(selection,
                           [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
                               tally.add(samples.at<T>(x, y), samples.step, count, mask);
                           });
    return tally.finish();
}

/// The rows of a selected rectangle, all channels of interleaved pixels together.
template <class T>
SampleRows rowsOf(const SxImageBuf& src, const Selection& selection) noexcept
{
    return {channelAt(src, 0).template at<T>(selection.left, selection.top), src.stride,
            selection.width * src.channels, selection.height};
}

/// Tables that serve every way of counting the channels of an image.
constexpr int tablesForChannels = 4;

/// Whether the channels of a selection are counted in one pass.
inline bool countsTogether(const SxImageBuf& src, const Selection& selection, const ChannelPlanes& planes)
{
    const auto counted = std::count_if(planes.begin(), planes.end(), [](int plane) { return plane >= 0; });
    if (selection.isMasked())
        return isInterleaved(src) && counted > 1 && src.channels <= tablesForChannels;
    return counted > 0 && (isMono(src) || isInterleaved(src));
}

/// Counts all channels of the selected pixels, of up to four interleaved samples.
template <class T>
std::int64_t countSelectedPixels(const SxImageBuf& src, const Selection& selection, const TallyTarget& target,
                                 const ChannelPlanes& planes, TallyTables& tables) noexcept
{
    const std::int64_t channels = src.channels;
    const SelectKernels& kernels = selectKernels();
    const ChannelSamples<const std::uint8_t> first = channelAt(src, 0);
    std::array<std::uint8_t, longestRun> mask;
    std::array<std::uint8_t, longestRun * sizeof(T)> samples;
    Tally<T> tally(target, planes, tables);
    std::int64_t selected = 0;
    forEachRun<longestRun / tablesForChannels>(
        selection, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* pixelMask) {
            kernels.spread(pixelMask, count, channels, mask.data());
            const std::int64_t found = kernels.select.of<T>()(first.template at<T>(x, y), mask.data(),
                                                              count * channels, samples.data());
            tally.add(samples.data(), found);
            selected += found;
        });
    tally.finish();
    return selected / channels;
}

/// Counts the pixels of a selection and returns their number.
template <class T>
std::int64_t countSelected(const SxImageBuf& src, const Selection& selection, const TallyTarget& target,
                           const ChannelPlanes& planes, TallyTables& tables) noexcept
{
    if (selection.pixels() == 0)
        return 0;
    if (countsTogether(src, selection, planes)) {
        if (selection.isMasked())
            return countSelectedPixels<T>(src, selection, target, planes, tables);
        countRows<T>(rowsOf<T>(src, selection), target, planes, tables);
        return selection.pixels();
    }
    std::int64_t selected = 0;
    for (std::size_t channel = 0; channel < planes.size(); ++channel) {
        if (planes[channel] >= 0)
            selected =
                countChannel<T>(src, static_cast<int>(channel), selection, target, planes[channel], tables);
    }
    return selected;
}

/// The same with tables of its own, and with planes that `makePlanes` makes.
template <class T, class MakePlanes>
std::int64_t countSelected(const SxImageBuf& src, const Selection& selection, CxImageHistogram& hist,
                           const MakePlanes& makePlanes)
{
    if (selection.pixels() == 0)
        return 0;
    const ChannelPlanes planes = makePlanes();
    const TallyTarget target(hist);
    const std::size_t period = countsTogether(src, selection, planes) ? planes.size() : 1;
    const std::int64_t samples = selection.pixels() * static_cast<std::int64_t>(period);
    std::atomic<std::int64_t> selected{0};
    countInBands(
        selection.height, samples, Tally<T>::tablesFor(period, samples), target,
        [&](std::int64_t begin, std::int64_t end, const TallyTarget& to, TallyTables& tables) noexcept {
            selected += countSelected<T>(src, selection.band(begin, end), to, planes, tables);
        });
    return selected;
}

/// Counts single pixels in list order, duplicates again; returns how many were counted. Points outside the
/// image or the mask (null: none) are left out.
template <class T, class MakePlanes>
std::int64_t countPoints(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets,
                         const SxImageBuf* mask, CxImageHistogram& hist, const MakePlanes& makePlanes)
{
    const ChannelPlanes planes = makePlanes();
    const TallyTarget target(hist);
    std::int64_t selected = 0;
    if (std::none_of(planes.begin(), planes.end(), [](int plane) { return plane >= 0; }))
        return 0;
    for (const QPoint& offset : offsets) {
        const std::int64_t x = std::int64_t{origin.x()} + offset.x();
        const std::int64_t y = std::int64_t{origin.y()} + offset.y();
        if (x < 0 || y < 0 || x >= src.width || y >= src.height)
            continue;
        if (mask != nullptr && maskByte(*mask, x, y) == 0)
            continue;
        for (std::size_t c = 0; c < planes.size(); ++c)
            countSample(target, planes[c],
                        loadSample<T>(channelAt(src, static_cast<int>(c)).template at<T>(x, y), 0));
        ++selected;
    }
    return selected;
}

}  // namespace ko
