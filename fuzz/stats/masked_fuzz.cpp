// Histograms under masks.
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"

#include <ko/stats/histogram.h>

namespace ko::fuzz {

namespace {

using oracle::Selects;

/// Image and mask, and where to count.
struct Scene {
    FuzzImage src, mask;
    CxImageHistogram hist;
    int channel, plane;

    explicit Scene(ByteReader& in)
        : src(in, countable(in, {twoByteTypes, everyChannels})),
          mask(in, like(in, src.layout(), UInt8, 1)),
          hist(anyHistogram(in, src->channels, levelsOf(src.buf()))),
          channel(anyIndex(in, src->channels)),
          plane(anyIndex(in, hist.planes))
    {
    }

    const Layout& layout() const { return src.layout(); }
    bool areSound() const { return fuzz::areSound(src, mask); }

    /// All channels, or one of them, over what is selected besides the mask.
    void compare(bool isForAll, const Selects& selects) const
    {
        const Twin twin(src), selection(mask);
        oracle::Counts counts = countsFor(hist);
        oracle::histogram(twin, oracle::both(selects, oracle::whereSet(selection)),
                          isForAll ? oracle::allChannels(twin) : oracle::oneChannel(twin, channel, plane),
                          counts);
        require(counts == hist, "other counts than the naive twin's");
    }

    int selected(const Selects& selects) const
    {
        int count = 0;
        const Twin selection(mask);
        const Selects all = oracle::both(selects, oracle::whereSet(selection));
        for (int y = 0; y < layout().height; ++y)
            for (int x = 0; x < layout().width; ++x)
                count += all(x, y) ? 1 : 0;
        return count;
    }
};

void whole(ByteReader& in, Outcome& out)
{
    Scene s(in);
    const bool isForAll = in.flag();
    const ResultCode rc = isForAll ? HistogramMasked(s.src, s.mask, s.hist)
                                   : HistogramMasked(s.src, s.mask, s.channel, s.hist, s.plane);
    addCount(out, rc, s.hist, s.src, s.mask);
    if (rc == ResultOk && out.isJudged() && s.areSound())
        s.compare(isForAll, oracle::everywhere());
}

void region(ByteReader& in, Outcome& out)
{
    Scene s(in);
    const QRect roi = anyRect(in, s.layout());
    const bool isForAll = in.flag();
    int count = -7;
    const ResultCode rc = isForAll ? HistogramMasked(s.src, s.mask, roi, s.hist)
                                   : HistogramMasked(s.src, s.mask, roi, s.channel, s.hist, s.plane, count);
    addCount(out, rc, s.hist, s.src, s.mask);
    out.add(count);
    if (rc != ResultOk || !out.isJudged() || !s.areSound())
        return;
    s.compare(isForAll, oracle::inside(roi));
    require(isForAll || count == s.selected(oracle::inside(roi)), "another number of pixels");
}

void points(ByteReader& in, Outcome& out)
{
    Scene s(in);
    const QPoint origin = anyPoint(in, s.layout());
    const QList<QPoint> offsets = anyOffsets(in);
    int count = -7;
    const ResultCode rc = HistogramMasked(s.src, s.mask, origin, offsets, s.channel, s.hist, s.plane, count);
    addCount(out, rc, s.hist, s.src, s.mask);
    out.add(count);
    if (rc != ResultOk || !out.isJudged() || !s.areSound())
        return;
    oracle::Counts counts = countsFor(s.hist);
    const Twin twin(s.src), selection(s.mask);
    forEachInside(offsets, origin, s.layout(), [&](int x, int y) {
        if (s.channel < s.layout().channels && selection.get<std::uint8_t>(x, y) != 0)
            counts.add(s.plane, oracle::sampleOf(twin, x, y, s.channel));
    });
    require(counts == s.hist, "other counts than the naive twin's");
}

void stencil(ByteReader& in, Outcome& out)
{
    Scene s(in);
    const FuzzImage shape(in, stencilFor(in, s.layout()));
    const QPoint pos = anyStencilPosition(in, s.layout(), shape.layout());
    const bool isForAll = in.flag();
    int count = -7;
    const ResultCode rc = isForAll
                              ? HistogramMasked(s.src, s.mask, shape, pos, s.hist, count)
                              : HistogramMasked(s.src, s.mask, shape, pos, s.channel, s.hist, s.plane, count);
    addCount(out, rc, s.hist, s.src, s.mask, shape);
    out.add(count);
    if (rc != ResultOk || !out.isJudged() || !s.areSound() || !shape.isSound())
        return;
    const Twin outline(shape);
    const Selects selects = oracle::whereSet(outline, pos.x(), pos.y());
    s.compare(isForAll, selects);
    require(count == s.selected(selects), "another number of pixels");
}

}  // namespace

Cases maskedCases()
{
    return {{"masked: whole", &whole},
            {"masked: region", &region},
            {"masked: points", &points},
            {"masked: stencil", &stencil}};
}

}  // namespace ko::fuzz
