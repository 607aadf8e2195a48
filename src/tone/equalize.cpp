#include <ko/tone.h>

#include "base/boundary.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "tone/contrast_levels.h"
#include "tone/distribution.h"
#include "tone/lookup_kernels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace ko {

namespace {

/// No more bits than the samples have.
bool fitsItsSamples(const SxImageInfo& src) noexcept
{
    return src.bitsPerSample <= 8 * bytesPerSample(src.dataType);
}

/// There is a histogram of the image.
bool hasHistogram(const SxImageInfo& src) noexcept
{
    return src.bitsPerSample >= 0 && src.channels >= 1;
}

/// Mono, planar, or pixels with three colours.
bool isMappable(const SxImageInfo& src) noexcept
{
    return isMono(src) || isPlanar(src) || (isInterleaved(src) && hasChannels(src, 3, 4));
}

/// The histogram has exactly the image's planes and levels, and really has the counters it tells of.
bool isExactHistogramOf(const CxImageHistogram& hist, const SxImageInfo& src) noexcept
{
    constexpr int mostBits = 30;
    return hist.planes == src.channels && src.bitsPerSample >= 0 && src.bitsPerSample <= mostBits &&
           hist.levels == 1 << src.bitsPerSample && hist.bins != nullptr &&
           std::none_of(hist.bins, hist.bins + std::max(hist.planes, 0),
                        [](const std::uint32_t* counts) { return counts == nullptr; });
}

/// A result for every value of a sample.
template <class T>
using LevelTable = std::vector<T>;

/// Values above the depth take the result of the highest level, and so does the entry that look-ups want
/// behind the last value.
template <class T>
void completeTable(LevelTable<T>& table)
{
    constexpr std::size_t values = std::size_t{std::numeric_limits<T>::max()} + 1;
    table.resize(values + 1, table.back());
}

template <class T>
LevelTable<T> equalizingTable(const Distribution& source)
{
    const auto top = static_cast<double>(source.size() - 1);
    LevelTable<T> table(source.size());
    std::transform(source.begin(), source.end(), table.begin(),
                   [&](double part) { return static_cast<T>(static_cast<std::int32_t>(top * part)); });
    completeTable(table);
    return table;
}

/// Each level becomes the first level of the reference with at least the same part at or below it, the
/// greatest value of the container where there is none. Both distributions ascend, so one walk finds all.
template <class T>
LevelTable<T> matchingTable(const Distribution& source, const Distribution& reference)
{
    LevelTable<T> table(std::max<std::size_t>(source.size(), 1), std::numeric_limits<T>::max());
    std::size_t match = 0;
    for (std::size_t level = 0; level < source.size(); ++level) {
        while (match < reference.size() && reference[match] < source[level])
            ++match;
        if (match < reference.size())
            table[level] = static_cast<T>(match);
    }
    completeTable(table);
    return table;
}

/// Maps rows of samples that all go through one table.
template <class T>
void mapSamples(const SxImageBuf& src, SxImageBuf& dst, std::int64_t samples, const LevelTable<T>& table)
{
    const LookUpRow<T> row = lookUpKernels().of<T>().row;
    constexpr std::int64_t slowness = sizeof(T) == 1 ? 1 : 4;  // words are gathered one by one
    rowsDynamic(workOn(src, dst).times(slowness),
                [&](std::int64_t y) noexcept { row(rowOf(src, y), rowOf(dst, y), samples, table.data()); });
}

/// Maps the first three channels of pixels, each through its table.
template <class T>
void mapColours(const SxImageBuf& src, SxImageBuf& dst, const std::array<const T*, 3>& tables)
{
    const auto row = lookUpKernels().of<T>().colours;
    rowsDynamic(workOn(src, dst).times(16), [&](std::int64_t y) noexcept {
        row(rowOf(src, y), rowOf(dst, y), src.width, src.channels, tables.data());
    });
}

/// Maps every plane through the table that `tableOf(plane, samples)` makes; an empty one ends it.
template <class T, class TableOf>
ResultCode mapPlanes(const SxImageBuf& src, SxImageBuf& dst, const TableOf& tableOf)
{
    for (int plane = 0; plane < src.channels; ++plane) {
        const SxImageBuf samples = planeView(src, plane);
        const LevelTable<T> table = tableOf(plane, samples);
        if (table.empty())
            return ResultFailed;
        SxImageBuf mapped = planeView(dst, plane);
        mapSamples<T>(samples, mapped, src.width, table);
    }
    return ResultOk;
}

template <class T>
ResultCode equalize(const SxImageBuf& src, SxImageBuf& dst)
{
    const auto tableOf = [](int, const SxImageBuf& samples) {
        const Distribution source = distributionOf(countLevels(samples, 1), 0);
        return source.empty() ? LevelTable<T>() : equalizingTable<T>(source);
    };
    if (isMono(src) || isPlanar(src))
        return mapPlanes<T>(src, dst, tableOf);
    // All three colours by the first channel, which keeps their balance.
    const LevelTable<T> table = tableOf(0, src);
    if (table.empty())
        return ResultFailed;
    if (src.channels == 3)
        mapSamples<T>(src, dst, std::int64_t{src.width} * 3, table);
    else
        mapColours<T>(src, dst, {table.data(), table.data(), table.data()});
    return ResultOk;
}

/// What an image is matched with: the levels of another image, or a histogram.
struct Reference {
    const SxImageBuf* image = nullptr;
    const CxImageHistogram* hist = nullptr;

    Distribution ofPlane(int plane) const
    {
        return image != nullptr ? distributionOf(countLevels(planeView(*image, plane), 1), 0)
                                : distributionOf(*hist, plane);
    }
};

constexpr int colours = 3;

template <class T>
ResultCode match(const SxImageBuf& src, SxImageBuf& dst, const Reference& reference)
{
    if (isMono(src) || isPlanar(src)) {
        return mapPlanes<T>(src, dst, [&](int plane, const SxImageBuf& samples) {
            return matchingTable<T>(distributionOf(countLevels(samples, 1), 0), reference.ofPlane(plane));
        });
    }
    const CxImageHistogram source = countLevels(src, colours);
    const CxImageHistogram counted =
        reference.image != nullptr ? countLevels(*reference.image, colours) : CxImageHistogram();
    const CxImageHistogram& followed = reference.image != nullptr ? counted : *reference.hist;
    std::array<LevelTable<T>, colours> tables;
    std::array<const T*, colours> entries;
    for (std::size_t c = 0; c < tables.size(); ++c) {
        const int plane = static_cast<int>(c);
        tables[c] = matchingTable<T>(distributionOf(source, plane), distributionOf(followed, plane));
        entries[c] = tables[c].data();
    }
    mapColours<T>(src, dst, entries);
    return ResultOk;
}

/// The common end of both forms of matching.
ResultCode matchChecked(const SxImageBuf& src, SxImageBuf& dst, const Reference& reference)
{
    if (const ResultCode rc = firstFailure({
            {ResultFailed, fitsItsSamples(src) && hasHistogram(src) && hasLayout(src)},
            {ResultUnsupportedType, hasType(src, UInt8, UInt16)},
            {ResultUnsupportedType, isMappable(src)},
        }))
        return rc;
    return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg3, rowsFit(dst)}},
                    [&]<class T>(std::type_identity<T>) {
                        return hasPixels(src) ? match<T>(src, dst, reference) : ResultOk;
                    });
}

}  // namespace

ResultCode HistogramEqualize(const SxImageBuf& src, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasLevelSamples(src)},
                {ResultBadArg2, isTwinOf(dst, src)},
                {ResultBadArg1, fitsItsSamples(src)},
                {ResultBadArg3, hasHistogram(src)},
                {ResultUnsupportedType, isMappable(src)},
            }))
            return rc;
        return dispatch(LevelSamples{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) { return equalize<T>(src, dst); });
    });
}

ResultCode HistogramMatch(const SxImageBuf& src, const SxImageBuf& reference, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasLevelSamples(src)},
                {ResultBadArg2, isTwinOf(reference, src)},
                {ResultBadArg3, isTwinOf(dst, src)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(reference)},
                {ResultBadArg3, rowsFit(dst)},
            }))
            return rc;
        const ResultCode rc = matchChecked(src, dst, {.image = &reference});
        return isFailure(rc) ? ResultFailed : ResultOk;
    });
}

ResultCode HistogramMatch(const SxImageBuf& src, const CxImageHistogram& reference, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasLevelSamples(src)},
                {ResultBadArg2, isExactHistogramOf(reference, src)},
                {ResultBadArg3, isTwinOf(dst, src)},
            }))
            return rc;
        return matchChecked(src, dst, {.hist = &reference});
    });
}

}  // namespace ko
