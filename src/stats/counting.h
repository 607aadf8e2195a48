// Counting the channels of an image's pixels into histogram planes: the one body behind all histograms of one
// image.
#pragma once

#include "base/dispatch.h"
#include "stats/select_kernels.h"
#include "stats/selection.h"
#include "stats/tally.h"

#include <QList>
#include <QPoint>

#include <algorithm>
#include <array>
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

/// The samples of one channel of a row: the first one, and the distance from each to the next in samples.
struct ChannelRow {
    const std::uint8_t* first;
    std::int64_t step;
};

template <class T>
ChannelRow channelRow(const SxImageBuf& src, int channel, std::int64_t x, std::int64_t y) noexcept
{
    constexpr auto size = static_cast<std::int64_t>(sizeof(T));
    if (isInterleaved(src))
        return {rowOf(src, y) + (x * src.channels + channel) * size, src.channels};
    return {planeRowOf(src, channel, y) + x * size, 1};
}

/// Brings samples that lie apart together.
template <class T>
void gatherSamples(const ChannelRow& row, std::int64_t count, std::uint8_t* out) noexcept
{
    for (std::int64_t i = 0; i < count; ++i)
        storeSample<T>(out, i, loadSample<T>(row.first, i * row.step));
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

    /// Counts a run, at most `longestRun`; `mask` is null where all are selected.
    void add(ChannelRow row, std::int64_t count, const std::uint8_t* mask) noexcept
    {
        if (row.step != 1) {
            gatherSamples<T>(row, count, m_buffer.data());
            row.first = m_buffer.data();
        }
        if (mask != nullptr) {
            count = m_select(row.first, mask, count, m_buffer.data());
            row.first = m_buffer.data();
        }
        m_tally.add(row.first, count);
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
    const SelectRun m_select = selectKernels().of<T>();
    std::int64_t m_selected = 0;
    std::array<std::uint8_t, longestRun * sizeof(T)> m_buffer;
};

template <class T>
std::int64_t countChannel(const SxImageBuf& src, int channel, const Selection& selection,
                          const TallyTarget& target, int plane, TallyTables& tables) noexcept
{
    MaskedTally<T> tally(target, plane, tables);
    forEachRun(selection, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
        tally.add(channelRow<T>(src, channel, x, y), count, mask);
    });
    return tally.finish();
}

/// Size of the pieces in which a rectangle is counted.
struct Pieces {
    std::int64_t width;
    std::int64_t height;
};

/// The counters of deep samples do not fit the first-level cache, but the levels of a small piece of a scene
/// are close together.
template <class T>
Pieces piecesOf(const SxImageBuf& src, const Selection& selection, const TallyTarget& target) noexcept
{
    if (sizeof(T) == 2 && isMono(src) && target.limit > 8192)
        return {256, 64};
    return {selection.width, selection.height};
}

/// The interleaved channels of a rectangle that is not empty, all in one go.
template <class T>
void countRows(const SxImageBuf& src, const Selection& selection, const TallyTarget& target,
               const ChannelPlanes& planes, TallyTables& tables) noexcept
{
    Tally<T> tally(target, planes, tables);
    const Pieces piece = piecesOf<T>(src, selection, target);
    for (std::int64_t top = 0; top < selection.height; top += piece.height) {
        const std::int64_t bottom = std::min(top + piece.height, selection.height);
        for (std::int64_t left = 0; left < selection.width; left += piece.width) {
            const std::int64_t width = std::min(piece.width, selection.width - left);
            for (std::int64_t j = top; j < bottom; ++j)
                tally.add(channelRow<T>(src, 0, selection.left + left, selection.top + j).first,
                          width * src.channels);
        }
    }
    tally.finish();
}

/// Tables that serve every way of counting the channels of an image.
constexpr int tablesForChannels = 4;

/// Counts the pixels of a selection and returns their number.
template <class T>
std::int64_t countSelected(const SxImageBuf& src, const Selection& selection, const TallyTarget& target,
                           const ChannelPlanes& planes, TallyTables& tables) noexcept
{
    if (selection.pixels() == 0)
        return 0;
    const auto counted = std::count_if(planes.begin(), planes.end(), [](int plane) { return plane >= 0; });
    if (!selection.isMasked() && (isMono(src) || (isInterleaved(src) && counted > 1))) {
        countRows<T>(src, selection, target, planes, tables);
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
    const bool together = !selection.isMasked() && isInterleaved(src);
    const std::size_t period = together ? planes.size() : 1;
    TallyTables tables(selection.pixels() * static_cast<std::int64_t>(period), Tally<T>::tablesFor(period));
    return countSelected<T>(src, selection, target, planes, tables);
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
                        loadSample<T>(channelRow<T>(src, static_cast<int>(c), x, y).first, 0));
        ++selected;
    }
    return selected;
}

}  // namespace ko
