#include <ko/stats/histogram.h>

#include "base/boundary.h"
#include "stats/counting.h"
#include "stats/histogram_checks.h"

namespace ko {

namespace {

template <class Planes>
ResultCode count(const SxImageBuf& src, const Selection& selection, CxImageHistogram& hist,
                 const Planes& planes)
{
    const SxImageBuf* const stencil = selection.stencil;
    return dispatch(BinNumbers{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, stencil == nullptr || rowsFit(*stencil)}},
                    [&]<class T>(std::type_identity<T>) { countSelected<T>(src, selection, hist, planes); });
}

template <class Planes>
ResultCode count(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets,
                 CxImageHistogram& hist, const Planes& planes)
{
    return dispatch(
        BinNumbers{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
        [&]<class T>(std::type_identity<T>) { countPoints<T>(src, origin, offsets, nullptr, hist, planes); });
}

}  // namespace

ResultCode Histogram(const SxImageBuf& src, CxImageHistogram& hist)
{
    return Histogram(src, wholeOf(src), hist);
}

ResultCode Histogram(const SxImageBuf& src, const QRect& roi, CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isInside(roi, src)},
                {ResultBadArg3, hasBins(hist) && hist.planes != 0 && holdsLevels(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, Selection(roi), hist, [&] { return allChannels(src, hist); });
    });
}

ResultCode Histogram(const SxImageBuf& src, int channel, CxImageHistogram& hist, int plane)
{
    return Histogram(src, wholeOf(src), channel, hist, plane);
}

ResultCode Histogram(const SxImageBuf& src, const QRect& roi, int channel, CxImageHistogram& hist, int plane)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isInside(roi, src)},
                {ResultBadArg3, hasChannel(src, channel)},
                {ResultBadArg4, hasBins(hist) && holdsLevels(hist, src)},
                {ResultBadArg5, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, Selection(roi), hist, [&] { return oneChannel(src, channel, plane); });
    });
}

ResultCode Histogram(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets,
                     CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isInside(origin, src)},
                {ResultBadArg4, isHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, origin, offsets, hist, [&] { return allChannels(src, hist); });
    });
}

ResultCode Histogram(const SxImageBuf& src, const QPoint& origin, const QList<QPoint>& offsets, int channel,
                     CxImageHistogram& hist, int plane)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isInside(origin, src)},
                {ResultBadArg4, channel >= 0},
                {ResultBadArg5, isHistogramOf(hist, src)},
                {ResultBadArg6, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, origin, offsets, hist, [&] { return oneChannel(src, channel, plane); });
    });
}

ResultCode Histogram(const SxImageBuf& src, const SxImageBuf& stencil, const QPoint& pos,
                     CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isMask(stencil)},
                {ResultBadArg3, isInside(pos, src)},
                {ResultBadArg2, fitsInto(stencil, src)},
                {ResultBadArg3, fitsAt(pos, stencil.width, stencil.height, src)},
                {ResultBadArg4, isHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, Selection(stencil, pos), hist, [&] { return allChannels(src, hist); });
    });
}

ResultCode Histogram(const SxImageBuf& src, const SxImageBuf& stencil, const QPoint& pos, int channel,
                     CxImageHistogram& hist, int plane)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, isMask(stencil)},
                {ResultBadArg3, isInside(pos, src)},
                {ResultBadArg2, fitsInto(stencil, src)},
                {ResultBadArg3, fitsAt(pos, stencil.width, stencil.height, src)},
                {ResultBadArg4, hasChannel(src, channel)},
                {ResultBadArg5, isHistogramOf(hist, src)},
                {ResultBadArg6, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(src, Selection(stencil, pos), hist, [&] { return oneChannel(src, channel, plane); });
    });
}

}  // namespace ko
