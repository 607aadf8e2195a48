#include <ko/stats/extremes.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "stats/extremes.h"
#include "stats/extremes_kernels.h"
#include "stats/select_kernels.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace ko {

namespace {

/// Rows whose samples fall into the same cells: sample i of each row into cell i % `period`.
struct RowSet {
    const std::uint8_t* data;
    std::int64_t rowPitch;
    std::int64_t rows;
    std::int64_t samples;
    std::int64_t period;
    const SxImageBuf* mask = nullptr;  ///< one byte for `period` samples; null where all samples count

    const std::uint8_t* row(std::int64_t y) const noexcept { return data + y * rowPitch; }

    /// The rows in runs whose samples fall into the same cells.
    RowRuns runs(std::int64_t sampleBytes) const noexcept
    {
        const std::int64_t bytes = samples * sampleBytes;
        const bool maskFollows = mask == nullptr || (period == 1 && isGapless(*mask));
        return {{rows, bytes}, bytes == rowPitch && samples % period == 0 && maskFollows, bytes};
    }
};

struct Position {
    std::int64_t sample = 0;
    std::int64_t row = 0;
};

/// The first sample in raster order that equals `value`; there must be one.
template <class T>
Position firstOf(const RowSet& set, std::int64_t cell, T value)
{
    for (std::int64_t y = 0; y < set.rows; ++y) {
        const std::uint8_t* const row = set.row(y);
        const std::uint8_t* const mask = set.mask != nullptr ? rowOf(*set.mask, y) : nullptr;
        for (std::int64_t i = cell; i < set.samples; i += set.period) {
            if ((mask == nullptr || mask[i / set.period] != 0) && loadSample<T>(row, i) == value)
                return {i, y};
        }
    }
    return {};
}

/// The extreme among the lanes of a cell. Zeros of both signs are equal, so where lanes hold both, the first
/// zero of the image decides.
template <class T, class Beats>
T fold(const RowSet& set, std::int64_t cell, const std::vector<T>& lanes, const Beats& beats)
{
    T best = lanes[static_cast<std::size_t>(cell)];
    if constexpr (std::is_integral_v<T>) {
        // The compiler takes many lanes at once here, which counts for small images.
        if (set.period == 1) {
            for (const T lane : lanes)
                best = beats(lane, best) ? lane : best;
            return best;
        }
    }
    bool bothZeros = false;
    for (auto lane = static_cast<std::size_t>(cell + set.period); lane < lanes.size();
         lane += static_cast<std::size_t>(set.period)) {
        if (beats(lanes[lane], best)) {
            best = lanes[lane];
            bothZeros = false;
        } else if constexpr (std::is_floating_point_v<T>) {
            bothZeros = bothZeros || (lanes[lane] == best && std::signbit(lanes[lane]) != std::signbit(best));
        }
    }
    if (bothZeros) {
        const Position first = firstOf(set, cell, best);
        best = loadSample<T>(set.row(first.row), first.sample);
    }
    return best;
}

/// Takes the rows into the cells from `firstCell` on.
template <class T>
void takeRows(const RowSet& set, Extremes<T>& extremes, std::int64_t firstCell)
{
    const ExtremesRows<T>& kernels = extremesKernels().of<T>();
    const std::int64_t lanes = kernels.laneCount(set.period);
    const RowRuns runs = set.runs(sizeof(T));
    const RowWork work = runs.work();
    const int bands = bandsByConsent(work);
    Extremes<T> spread(lanes * bands);
    const SpreadMask spreadMask = selectKernels().spread;
    const std::int64_t widened = set.mask != nullptr && set.period > 1 ? set.samples : 0;
    std::vector<std::uint8_t> selections(static_cast<std::size_t>(widened * bands));
    inBands(bands, work.rows, [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        const ExtremeLanes<T> running{spread.low.data() + band * lanes, spread.high.data() + band * lanes,
                                      lanes, set.period};
        if (set.mask == nullptr) {
            const std::int64_t first = runs.firstRow(begin);
            const std::int64_t count = std::min(runs.firstRow(end), set.rows) - first;
            if (runs.areJoined())
                kernels.rows(set.row(first), 0, 1, count * set.samples, running);
            else
                kernels.rows(set.row(first), set.rowPitch, count, set.samples, running);
            return;
        }
        std::uint8_t* const selection = selections.data() + band * widened;
        for (std::int64_t run = begin; run < end; ++run) {
            const std::int64_t y = runs.firstRow(run), samples = runs.rowsOf(run) * set.samples;
            const std::uint8_t* mask = rowOf(*set.mask, y);
            if (set.period > 1) {
                spreadMask(mask, set.samples / set.period, set.period, selection);
                mask = selection;
            }
            kernels.selectedRow(set.row(y), mask, samples, running);
        }
    });
    for (std::int64_t cell = 0; cell < set.period; ++cell) {
        const auto to = static_cast<std::size_t>(firstCell + cell);
        extremes.low[to] = fold(set, cell, spread.low, std::less<T>{});
        extremes.high[to] = fold(set, cell, spread.high, std::greater<T>{});
    }
}

template <class T>
QVariant toVariant(T value)
{
    if constexpr (std::is_same_v<T, std::int64_t>)
        return QVariant(static_cast<qlonglong>(value));
    else if constexpr (std::is_same_v<T, std::uint64_t>)
        return QVariant(static_cast<qulonglong>(value));
    else if constexpr (std::is_floating_point_v<T> || std::is_same_v<T, std::uint32_t>)
        return QVariant(value);
    else
        return QVariant(static_cast<int>(value));
}

template <class T>
void write(const Extremes<T>& extremes, QVariant* min, QVariant* max)
{
    std::transform(extremes.low.begin(), extremes.low.end(), min, toVariant<T>);
    std::transform(extremes.high.begin(), extremes.high.end(), max, toVariant<T>);
}

/// The rows of a mosaic that share row `cellRow` of the cells.
RowSet mosaicRows(const SxImageBuf& src, int cellWidth, int cellHeight, int cellRow)
{
    const std::int64_t rows = (std::int64_t{src.height} - cellRow + cellHeight - 1) / cellHeight;
    return {rowOf(src, cellRow), std::int64_t{src.stride} * cellHeight, std::max<std::int64_t>(rows, 0),
            src.width, cellWidth};
}

/// Where each cell's extreme comes first; (0, 0) where no sample beat the starting value.
template <class T>
std::vector<QPoint> positions(const SxImageBuf& src, int cellWidth, int cellHeight,
                              const std::vector<T>& values, T start)
{
    std::vector<QPoint> points(values.size(), QPoint(0, 0));
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (values[k] == start)
            continue;
        const int cellRow = static_cast<int>(k / static_cast<std::size_t>(cellWidth));
        const auto cell = static_cast<std::int64_t>(k % static_cast<std::size_t>(cellWidth));
        const Position at = firstOf(mosaicRows(src, cellWidth, cellHeight, cellRow), cell, values[k]);
        points[k] = {static_cast<int>(at.sample), static_cast<int>(at.row * cellHeight + cellRow)};
    }
    return points;
}

/// Presence for all three operations: the one type code that they refuse counts as an invalid image.
bool isUsable(const SxImageBuf& src)
{
    return isPresent(src) && src.dataType != Sample128;
}

}  // namespace

template <class T>
Extremes<T> channelExtremes(const SxImageBuf& src, const SxImageBuf* mask)
{
    const std::int64_t channels = std::max(src.channels, 0);
    Extremes<T> physical(channels);
    if (isPlanar(src)) {
        for (int plane = 0; plane < channels; ++plane)
            takeRows({planeRowOf(src, plane, 0), src.stride, src.height, src.width, 1, mask}, physical,
                     plane);
        return physical;
    }
    if (channels == 0)
        return physical;
    takeRows({src.data, src.stride, src.height, src.width * channels, channels, mask}, physical, 0);
    Extremes<T> logical(channels);
    for (int channel = 0; channel < channels; ++channel) {
        const auto from = static_cast<std::size_t>(ChannelIndexLogicalToPhysical(channel, src));
        logical.low[static_cast<std::size_t>(channel)] = physical.low[from];
        logical.high[static_cast<std::size_t>(channel)] = physical.high[from];
    }
    return logical;
}

template <class T>
Extremes<T> mosaicExtremes(const SxImageBuf& src, int cellWidth, int cellHeight)
{
    Extremes<T> extremes(std::int64_t{cellWidth} * cellHeight);
    for (int row = 0; row < cellHeight; ++row)
        takeRows(mosaicRows(src, cellWidth, cellHeight, row), extremes, std::int64_t{row} * cellWidth);
    return extremes;
}

template Extremes<std::int32_t> channelExtremes(const SxImageBuf&, const SxImageBuf*);
template Extremes<float> channelExtremes(const SxImageBuf&, const SxImageBuf*);
template Extremes<double> channelExtremes(const SxImageBuf&, const SxImageBuf*);
template Extremes<std::int32_t> mosaicExtremes(const SxImageBuf&, int, int);
template Extremes<float> mosaicExtremes(const SxImageBuf&, int, int);
template Extremes<double> mosaicExtremes(const SxImageBuf&, int, int);

ResultCode MinMax(const SxImageBuf& src, QVariant* min, QVariant* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isUsable(src)},
                {ResultBadArg2, min != nullptr},
                {ResultBadArg3, max != nullptr},
                {ResultUnsupportedType, isMosaic(src) || hasPlainChannels(src)},
            }))
            return rc;
        return dispatch(
            ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
            [&]<class T>(std::type_identity<T>) {
                write(isMosaic(src) ? mosaicExtremes<T>(src, 2, 2) : channelExtremes<T>(src, nullptr), min,
                      max);
            },
            ResultOk);
    });
}

ResultCode MinMaxMasked(const SxImageBuf& src, const SxImageBuf& mask, QVariant* min, QVariant* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isUsable(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, min != nullptr},
                {ResultBadArg4, max != nullptr},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(
            ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
            [&]<class T>(std::type_identity<T>) { write(channelExtremes<T>(src, &mask), min, max); },
            ResultOk);
    });
}

ResultCode MinMaxMosaic(const SxImageBuf& src, int cellWidth, int cellHeight, QVariant* min, QVariant* max,
                        QPoint* minPos, QPoint* maxPos)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isUsable(src) && isMono(src)},
                {ResultBadArg2, isCellSide(cellWidth, src.width)},
                {ResultBadArg3, isCellSide(cellHeight, src.height)},
                {ResultBadArg2, min != nullptr},
                {ResultBadArg3, max != nullptr},
            }))
            return rc;
        return dispatch(
            ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
            [&]<class T>(std::type_identity<T>) {
                const Extremes<T> extremes = mosaicExtremes<T>(src, cellWidth, cellHeight);
                std::vector<QPoint> lowest, highest;
                if (maxPos != nullptr)
                    highest = positions(src, cellWidth, cellHeight, extremes.high, Extremes<T>::startHigh);
                if (minPos != nullptr)
                    lowest = positions(src, cellWidth, cellHeight, extremes.low, Extremes<T>::startLow);
                write(extremes, min, max);
                std::copy(highest.begin(), highest.end(), maxPos);
                std::copy(lowest.begin(), lowest.end(), minPos);
            },
            ResultOk);
    });
}

}  // namespace ko
