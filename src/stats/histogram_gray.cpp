#include <ko/stats/histogram.h>

#include "base/boundary.h"
#include "core/bayer_cell.h"
#include "stats/counting.h"
#include "stats/gray_kernels.h"
#include "stats/histogram_checks.h"

namespace ko {

namespace {

/// One run of three or four channels, side by side.
template <class T, std::size_t Count>
struct ChannelRows {
    const std::uint8_t* rows[Count];
    std::int64_t step = 1;

    ChannelRows(const SxImageBuf& src, const int (&channels)[Count], std::int64_t x, std::int64_t y) noexcept
    {
        for (std::size_t i = 0; i < Count; ++i) {
            const ChannelSamples<const std::uint8_t> samples = channelAt(src, channels[i]);
            rows[i] = samples.template at<T>(x, y);
            step = samples.step;
        }
    }
};

/// Calls `count(band, target, tables)` for bands of a selection of pixels.
template <class Count>
void countBands(const Selection& selection, CxImageHistogram& hist, const Count& count)
{
    countInBands(selection.height, selection.pixels(), tablesForChannels, TallyTarget(hist),
                 [&](std::int64_t begin, std::int64_t end, const TallyTarget& target,
                     TallyTables& tables) noexcept { count(selection.band(begin, end), target, tables); });
}

/// Planes of the colours of an image beside the gray in plane 0.
ChannelPlanes colourPlanes(const SxImageInfo& src)
{
    ChannelPlanes planes{1, 2, 3};
    planes.resize(static_cast<std::size_t>(src.channels), -1);
    return planes;
}

/// Counts the mean of three channels.
template <class T>
void countGray(const SxImageBuf& src, const int (&channels)[3], const Selection& selection,
               const TallyTarget& target, int plane, TallyTables& tables) noexcept
{
    const auto mean = grayKernels().of<T>().meanOfThree;
    MaskedTally<T> tally(target, plane, tables);
    forEachRun<longestRun>(selection,
                           [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
                               const ChannelRows<T, 3> colours(src, channels, x, y);
                               mean(colours.rows, colours.step, count, tally.buffer());
                               tally.add(tally.buffer(), 1, count, mask);
                           });
    tally.finish();
}

constexpr int colours[] = {0, 1, 2};

bool isColour(const SxImageBuf& src) noexcept
{
    return isPresent(src) && hasChannels(src, 3, 4);
}

/// Gray and colours of a selection, all arguments checked.
ResultCode countGrayAndColours(const SxImageBuf& src, const Selection& selection, CxImageHistogram& hist)
{
    return dispatch(
        BinNumbers{}, src.dataType,
        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, !selection.isMasked() || rowsFit(*selection.mask)}},
        [&]<class T>(std::type_identity<T>) {
            const ChannelPlanes planes = colourPlanes(src);
            countBands(selection, hist,
                       [&](const Selection& band, const TallyTarget& target, TallyTables& tables) noexcept {
                           countGray<T>(src, colours, band, target, 0, tables);
                           countSelected<T>(src, band, target, planes, tables);
                       });
        });
}

/// The forms with one mask for all colours.
ResultCode countMasked(const SxImageBuf& src, CxImageHistogram& hist, const SxImageBuf& mask) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isColour(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isColourHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return countGrayAndColours(src, Selection(wholeOf(src), &mask), hist);
    });
}

/// Each colour where its own plane of the mask selects it, and the gray of those selected.
template <class T>
void countWithColourMasks(const SxImageBuf& src, const SxImageBuf& mask, const Selection& band,
                          const TallyTarget& target, TallyTables& tables) noexcept
{
    for (const int c : colours) {
        const SxImageBuf own = planeView(mask, c);
        Selection selected = band;
        selected.mask = &own;
        countChannel<T>(src, c, selected, target, c + 1, tables);
    }
    const auto mean = grayKernels().of<T>().meanOfSelected;
    MaskedTally<T> tally(target, 0, tables);
    std::array<std::uint8_t, longestRun> any;
    forEachRun<longestRun>(
        band, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t*) {
            const ChannelRows<T, 3> samples(src, colours, x, y);
            const ChannelRows<std::uint8_t, 3> masks(mask, colours, x, y);
            mean(samples.rows, samples.step, masks.rows, count, tally.buffer(), any.data());
            tally.add(tally.buffer(), 1, count, any.data());
        });
    tally.finish();
}

/// Counts the mean of four planes into plane 0.
template <class T>
void countGrayOfFour(const SxImageBuf& src, const Selection& selection, const TallyTarget& target,
                     TallyTables& tables) noexcept
{
    const auto mean = grayKernels().of<T>().meanOfFour;
    MaskedTally<T> tally(target, 0, tables);
    forEachRun<longestRun>(selection,
                           [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
                               const ChannelRows<T, 4> cell(src, {0, 1, 2, 3}, x, y);
                               mean(cell.rows, count, tally.buffer());
                               tally.add(tally.buffer(), 1, count, mask);
                           });
    tally.finish();
}

/// The four planes of a split mosaic: their mean into plane 0, the two greens into one plane.
ResultCode countRawPlanar(const SxImageBuf& src, const SxImageBuf* mask, CxImageHistogram& hist) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isFourPlanes(src)},
                {ResultBadArg2, isColourHistogramOf(hist, src)},
            }))
            return rc;
        return dispatch(BinNumbers{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
                        [&]<class T>(std::type_identity<T>) {
                            const ChannelPlanes planes{1, 2, 3, 2};
                            countBands(Selection(wholeOf(src), mask), hist,
                                       [&](const Selection& band, const TallyTarget& target,
                                           TallyTables& tables) noexcept {
                                           countGrayOfFour<T>(src, band, target, tables);
                                           countSelected<T>(src, band, target, planes, tables);
                                       });
                        });
    });
}

}  // namespace

ResultCode HistogramGrayFromRGB(const SxImageBuf& src, CxImageHistogram& hist, int plane)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasChannels(src, 4) &&
                                    !hasType(src, Int32, UInt32, Float32, Float64, Sample128, Int64, UInt64)},
                {ResultBadArg2, hist.planes != 0},
                {ResultBadArg3, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(
            BinNumbers{}, src.dataType, {{ResultBadArg1, rowsFit(src)}}, [&]<class T>(std::type_identity<T>) {
                countBands(
                    Selection(wholeOf(src)), hist,
                    [&](const Selection& band, const TallyTarget& target, TallyTables& tables) noexcept {
                        if (isInterleaved(src))
                            countGray<T>(src, colours, band, target, plane, tables);
                        else  // planes 0, 1 and 3, byte by byte whatever the sample type
                            countGray<std::uint8_t>(src, {0, 1, 3}, band, target, plane, tables);
                    });
            });
    });
}

ResultCode HistogramGrayFromRGBMasked(const SxImageBuf& src, CxImageHistogram& hist, const SxImageBuf& mask)
{
    return countMasked(src, hist, mask);
}

ResultCode HistogramRGBGrayFromRGB(const SxImageBuf& src, CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isColour(src)},
                {ResultBadArg2, isColourHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return countGrayAndColours(src, Selection(wholeOf(src)), hist);
    });
}

ResultCode HistogramRGBGrayFromRGBMasked(const SxImageBuf& src, CxImageHistogram& hist,
                                         const SxImageBuf& mask)
{
    return countMasked(src, hist, mask);
}

ResultCode HistogramRGBGrayFromRGBMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                         CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isColour(src)},
                {ResultBadArg2, isPresent(mask) && hasChannels(mask, 3) && hasType(mask, UInt8) &&
                                    isPlanar(mask) && sameSize(mask, src)},
                {ResultBadArg3, isColourHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(BinNumbers{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                        [&]<class T>(std::type_identity<T>) {
                            countBands(Selection(wholeOf(src)), hist,
                                       [&](const Selection& band, const TallyTarget& target,
                                           TallyTables& tables) noexcept {
                                           countWithColourMasks<T>(src, mask, band, target, tables);
                                       });
                        });
    });
}

ResultCode HistogramRGBGrayFromRawPlanar(const SxImageBuf& src, CxImageHistogram& hist)
{
    return countRawPlanar(src, nullptr, hist);
}

ResultCode HistogramRGBGrayFromRawPlanarMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                               CxImageHistogram& hist)
{
    return countRawPlanar(src, &mask, hist);
}

}  // namespace ko
