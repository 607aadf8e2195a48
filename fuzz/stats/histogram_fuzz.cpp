// Histograms of images, regions, point lists and stencils.
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"

#include <ko/stats/histogram.h>

namespace ko::fuzz {

namespace {

using oracle::Selects;

/// All channels, each into the plane of its number.
void compareAll(const FuzzImage& src, const Selects& selects, const CxImageHistogram& hist)
{
    oracle::Counts counts = countsFor(hist);
    const Twin twin(src);
    oracle::histogram(twin, selects, oracle::allChannels(twin), counts);
    require(counts == hist, "other counts than the naive twin's");
}

void compareOne(const FuzzImage& src, const Selects& selects, int channel, const CxImageHistogram& hist,
                int plane)
{
    oracle::Counts counts = countsFor(hist);
    const Twin twin(src);
    oracle::histogram(twin, selects, oracle::oneChannel(twin, channel, plane), counts);
    require(counts == hist, "other counts than the naive twin's");
}

void countAll(ByteReader& in, Outcome& out, const Layout& layout)
{
    const FuzzImage src(in, layout);
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    const ResultCode rc = Histogram(src, hist);
    addCount(out, rc, hist, src);
    if (rc == ResultOk && out.isJudged() && src.isSound())
        compareAll(src, oracle::everywhere(), hist);
}

void whole(ByteReader& in, Outcome& out)
{
    countAll(in, out, countable(in, {countableTypes, everyChannels}));
}

/// Just as many samples as take the way of large images.
void largeWhole(ByteReader& in, Outcome& out)
{
    Layout layout = countable(in, {{UInt8, UInt16}, {1, 3}});
    layout.width = (layout.channels == 1 ? 363 : 210) + in.below(6);
    layout.height = layout.channels == 1 ? 363 : 210;
    countAll(in, out, layout);
}

void region(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes, everyChannels}));
    const QRect roi = anyRect(in, src.layout());
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    const ResultCode rc = Histogram(src, roi, hist);
    addCount(out, rc, hist, src);
    if (rc == ResultOk && out.isJudged() && src.isSound())
        compareAll(src, oracle::inside(roi), hist);
}

void channelOfWhole(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes, everyChannels}));
    CxImageHistogram hist = anyHistogram(in, in.between(1, 4), levelsOf(src.buf()));
    const int channel = anyIndex(in, src->channels), plane = anyIndex(in, hist.planes);
    const ResultCode rc = Histogram(src, channel, hist, plane);
    addCount(out, rc, hist, src);
    if (rc == ResultOk && out.isJudged() && src.isSound())
        compareOne(src, oracle::everywhere(), channel, hist, plane);
}

void channelOfRegion(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes, everyChannels}));
    const QRect roi = anyRect(in, src.layout());
    CxImageHistogram hist = anyHistogram(in, in.between(1, 4), levelsOf(src.buf()));
    const int channel = anyIndex(in, src->channels), plane = anyIndex(in, hist.planes);
    const ResultCode rc = Histogram(src, roi, channel, hist, plane);
    addCount(out, rc, hist, src);
    if (rc == ResultOk && out.isJudged() && src.isSound())
        compareOne(src, oracle::inside(roi), channel, hist, plane);
}

void points(ByteReader& in, Outcome& out)
{
    const Layout layout = countable(in, {countableTypes, everyChannels});
    const FuzzImage src(in, layout);
    const QPoint origin = anyPoint(in, layout);
    const QList<QPoint> offsets = anyOffsets(in);
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    const bool isForAll = in.flag();
    const int channel = anyIndex(in, src->channels), plane = anyIndex(in, hist.planes);
    const ResultCode rc = isForAll ? Histogram(src, origin, offsets, hist)
                                   : Histogram(src, origin, offsets, channel, hist, plane);
    addCount(out, rc, hist, src);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    oracle::Counts counts = countsFor(hist);
    const Twin twin(src);
    forEachInside(offsets, origin, layout, [&](int x, int y) {
        for (int c = 0; c < layout.channels; ++c)
            if (isForAll || c == channel)
                counts.add(isForAll ? c : plane, oracle::sampleOf(twin, x, y, c));
    });
    require(counts == hist, "other counts than the naive twin's");
}

void stencil(ByteReader& in, Outcome& out)
{
    const Layout layout = countable(in, {countableTypes, everyChannels});
    const FuzzImage src(in, layout), shape(in, stencilFor(in, layout));
    const QPoint pos = anyStencilPosition(in, layout, shape.layout());
    CxImageHistogram hist = anyHistogram(in, src->channels, levelsOf(src.buf()));
    const bool isForAll = in.flag();
    const int channel = anyIndex(in, src->channels), plane = anyIndex(in, hist.planes);
    const ResultCode rc =
        isForAll ? Histogram(src, shape, pos, hist) : Histogram(src, shape, pos, channel, hist, plane);
    addCount(out, rc, hist, src, shape);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, shape))
        return;
    const Twin selection(shape);
    const Selects selects = oracle::whereSet(selection, pos.x(), pos.y());
    if (isForAll)
        compareAll(src, selects, hist);
    else
        compareOne(src, selects, channel, hist, plane);
}

/// Depths for which the histogram is small enough for a fuzzer.
void anyDepth(ByteReader& in, Outcome& out)
{
    FuzzImage src(in, countable(in, {everyType, everyChannels}));
    if (in.oneIn(4))
        src->bayerGrid = static_cast<ExBayerGrid>(in.between(-1, 6));
    if (src->bitsPerSample > 16 && src->bitsPerSample < 31)
        src->bitsPerSample = 12;
    CxImageHistogram hist = anyHistogram(in, 1, 16);
    const ResultCode rc = HistogramEx(src, hist);
    addCount(out, rc, hist, src);
}

}  // namespace

Cases histogramCases()
{
    return {{"histogram: whole", &whole},
            {"histogram: region", &region},
            {"histogram: channelOfWhole", &channelOfWhole},
            {"histogram: channelOfRegion", &channelOfRegion},
            {"histogram: points", &points},
            {"histogram: stencil", &stencil},
            {"histogram: anyDepth", &anyDepth},
            {"histogram: largeWhole", &largeWhole}};
}

}  // namespace ko::fuzz
