#include <ko/stats/row_histogram.h>

#include "base/boundary.h"
#include "stats/counting.h"
#include "stats/histogram_checks.h"

namespace ko {

namespace {

/// Counts a row or a column anew. A mask is taken as it is: what it does not have selects nothing.
ResultCode countLine(const SxImageBuf& src, bool lineExists, const Selection& line,
                     CxImageHistogram& hist) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src)},
                {ResultBadArg2, lineExists},
                {ResultBadArg3, isHistogramOf(hist, src)},
                {ResultBadArg1, rowsFit(src) || !hasKnownPacking(src)},
            }))
            return rc;
        hist.clear();
        if (!hasKnownPacking(src))
            return ResultUnsupportedType;
        return dispatch(BinNumbers{}, src.dataType, {}, [&]<class T>(std::type_identity<T>) {
            countSelected<T>(src, line, hist, [&] { return allChannels(src, hist); });
        });
    });
}

ResultCode countRow(const SxImageBuf& src, const SxImageBuf* mask, int row, CxImageHistogram& hist) noexcept
{
    return countLine(src, hasRow(src, row), Selection::ofRow(src, row, mask), hist);
}

ResultCode countColumn(const SxImageBuf& src, const SxImageBuf* mask, int col,
                       CxImageHistogram& hist) noexcept
{
    return countLine(src, hasColumn(src, col), Selection::ofColumn(src, col, mask), hist);
}

}  // namespace

ResultCode RowHistogram(const SxImageBuf& src, int row, CxImageHistogram& hist)
{
    return countRow(src, nullptr, row, hist);
}

ResultCode ColHistogram(const SxImageBuf& src, int col, CxImageHistogram& hist)
{
    return countColumn(src, nullptr, col, hist);
}

ResultCode RowHistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int row, CxImageHistogram& hist)
{
    return countRow(src, &mask, row, hist);
}

ResultCode ColHistogramMasked(const SxImageBuf& src, const SxImageBuf& mask, int col, CxImageHistogram& hist)
{
    return countColumn(src, &mask, col, hist);
}

}  // namespace ko
