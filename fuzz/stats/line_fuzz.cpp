// Histograms of single rows and columns.
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"

#include <ko/stats/row_histogram.h>

namespace ko::fuzz {

namespace {

/// These clear the histogram before they count.
template <class... Sources>
void addLine(Outcome& out, ResultCode rc, const CxImageHistogram& hist, const Sources&... sources)
{
    require((sources.isUntouched() && ...), "a source has changed");
    out.add(rc);
    add(out, hist);
}

QRect rowAt(const Layout& layout, int y)
{
    return {0, y, layout.width, 1};
}

QRect columnAt(const Layout& layout, int x)
{
    return {x, 0, 1, layout.height};
}

void compare(const FuzzImage& src, const oracle::Selects& selects, const CxImageHistogram& hist)
{
    oracle::Counts counts = countsFor(hist);
    const Twin twin(src);
    oracle::histogram(twin, selects, oracle::allChannels(twin), counts);
    require(counts == hist, "other counts than the naive twin's");
}

void plain(ByteReader& in, Outcome& out)
{
    const Layout layout = countable(in, {countableTypes, everyChannels});
    const FuzzImage src(in, layout);
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    if (hist.bins != nullptr)
        hist.bins[0][0] = 5;
    const bool isRow = in.flag();
    const int line = anyIndex(in, isRow ? layout.height : layout.width);
    const ResultCode rc = isRow ? RowHistogram(src, line, hist) : ColHistogram(src, line, hist);
    addLine(out, rc, hist, src);
    if (rc == ResultOk && out.isJudged() && src.isSound())
        compare(src, oracle::inside(isRow ? rowAt(layout, line) : columnAt(layout, line)), hist);
}

void masked(ByteReader& in, Outcome& out)
{
    const Layout layout = countable(in, {countableTypes, everyChannels});
    const FuzzImage src(in, layout);
    const bool isFit = !in.oneIn(8);
    const FuzzImage mask(in, isFit ? like(in, layout, UInt8, 1) : anyLayout(in, {everyType, everyChannels}));
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    const bool isRow = in.flag();
    const int line = anyIndex(in, isRow ? layout.height : layout.width);
    const ResultCode rc =
        isRow ? RowHistogramMasked(src, mask, line, hist) : ColHistogramMasked(src, mask, line, hist);
    addLine(out, rc, hist, src, mask);
    if (rc != ResultOk || !out.isJudged() || !isFit || !areSound(src, mask))
        return;
    const Twin selection(mask);
    const QRect rect = isRow ? rowAt(layout, line) : columnAt(layout, line);
    compare(src, oracle::both(oracle::inside(rect), oracle::whereSet(selection)), hist);
}

}  // namespace

Cases lineCases()
{
    return {{"line: plain", &plain}, {"line: masked", &masked}};
}

}  // namespace ko::fuzz
