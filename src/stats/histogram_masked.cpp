#include <ko/stats/histogram.h>

#include "base/boundary.h"
#include "stats/counting.h"
#include "stats/histogram_checks.h"

namespace ko {

namespace {

bool isMaskable(const SxImageBuf& src) noexcept
{
    return isShallow(src) && fitsItsBytes(src);
}

template <class Planes>
ResultCode count(const SxImageBuf& src, const Selection& selection, CxImageHistogram& hist,
                 const Planes& planes, int& selected)
{
    const SxImageBuf* const stencil = selection.stencil;
    return dispatch(BinNumbers{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)},
                     {ResultBadArg2, rowsFit(*selection.mask)},
                     {ResultBadArg3, stencil == nullptr || rowsFit(*stencil)}},
                    [&]<class T>(std::type_identity<T>) {
                        selected = static_cast<int>(countSelected<T>(src, selection, hist, planes));
                    });
}

}  // namespace

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, CxImageHistogram& hist)
{
    return HistogramMasked(src, mask, wholeOf(src), hist);
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QRect& roi,
                           CxImageHistogram& hist)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isMaskable(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isInside(roi, src)},
                {ResultBadArg4, hasBins(hist) && hist.planes != 0 && holdsLevels(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        int selected = 0;
        return count(
            src, Selection(roi, &mask), hist, [&] { return allChannels(src, hist); }, selected);
    });
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int channel, CxImageHistogram& hist,
                           int plane)
{
    int selected = 0;
    return HistogramMasked(src, mask, wholeOf(src), channel, hist, plane, selected);
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QRect& roi, int channel,
                           CxImageHistogram& hist, int plane, int& selected)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isMaskable(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isInside(roi, src)},
                {ResultBadArg4, hasChannel(src, channel)},
                {ResultBadArg5, hasBins(hist) && hist.planes != 0 && holdsLevels(hist, src)},
                {ResultBadArg6, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(
            src, Selection(roi, &mask), hist, [&] { return oneChannel(src, channel, plane); }, selected);
    });
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const QPoint& origin,
                           const QList<QPoint>& offsets, int channel, CxImageHistogram& hist, int plane,
                           int& selected)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isShallow(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg1, fitsItsBytes(src)},
                {ResultBadArg3, isInside(origin, src)},
                {ResultBadArg5, channel >= 0},
                {ResultBadArg6, isHistogramOf(hist, src)},
                {ResultBadArg7, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(
            BinNumbers{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
            [&]<class T>(std::type_identity<T>) {
                selected = static_cast<int>(countPoints<T>(src, origin, offsets, &mask, hist,
                                                           [&] { return oneChannel(src, channel, plane); }));
            });
    });
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const SxImageBuf& stencil,
                           const QPoint& pos, CxImageHistogram& hist, int& selected)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isMaskable(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isMask(stencil)},
                {ResultBadArg4, isInside(pos, src)},
                {ResultBadArg3, fitsInto(stencil, src)},
                {ResultBadArg4, fitsAt(pos, stencil.width, stencil.height, src)},
                {ResultBadArg5, isHistogramOf(hist, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(
            src, Selection(stencil, pos, &mask), hist, [&] { return allChannels(src, hist); }, selected);
    });
}

ResultCode HistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, const SxImageBuf& stencil,
                           const QPoint& pos, int channel, CxImageHistogram& hist, int plane, int& selected)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isMaskable(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isMask(stencil)},
                {ResultBadArg3, isInside(pos, src)},
                {ResultBadArg3, fitsInto(stencil, src)},
                {ResultBadArg4, fitsAt(pos, stencil.width, stencil.height, src)},
                {ResultBadArg5, hasChannel(src, channel)},
                {ResultBadArg6, isHistogramOf(hist, src)},
                {ResultBadArg7, hasPlane(hist, plane)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return count(
            src, Selection(stencil, pos, &mask), hist, [&] { return oneChannel(src, channel, plane); },
            selected);
    });
}

}  // namespace ko
