// Gray and colour histograms.
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"

#include <ko/stats/histogram.h>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<int> colour = {3, 4, 3, 4, 3, 4, 2};

void gray(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {twoByteTypes, {4, 4, 4, 3}}));
    CxImageHistogram hist = anyHistogram(in, in.between(1, 4), levelsOf(src.buf()));
    const int plane = anyIndex(in, hist.planes);
    const ResultCode rc = HistogramGrayFromRGB(src, hist, plane);
    addCount(out, rc, hist, src);
    if (rc != ResultOk || !out.isJudged() || !src.isSound() || src.layout().packing == Planar)
        return;
    oracle::Counts counts = countsFor(hist);
    oracle::gray(Twin(src), oracle::everywhere(), {0, 1, 2}, plane, counts);
    require(counts == hist, "other counts than the naive twin's");
}

void grayAndColours(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {twoByteTypes, colour}));
    CxImageHistogram hist = anyHistogram(in, 4, levelsOf(src.buf()));
    const ResultCode rc = HistogramRGBGrayFromRGB(src, hist);
    addCount(out, rc, hist, src);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    oracle::Counts counts = countsFor(hist);
    oracle::grayAndColours(Twin(src), oracle::everywhere(), counts);
    require(counts == hist, "other counts than the naive twin's");
}

using Masked = ResultCode (*)(const SxImageBuf&, CxImageHistogram&, const SxImageBuf&);

template <Masked Count>
void grayAndColoursMasked(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {twoByteTypes, colour}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    CxImageHistogram hist = anyHistogram(in, 4, levelsOf(src.buf()));
    const ResultCode rc = Count(src, hist, mask);
    addCount(out, rc, hist, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    oracle::Counts counts = countsFor(hist);
    const Twin selection(mask);
    oracle::grayAndColours(Twin(src), oracle::whereSet(selection), counts);
    require(counts == hist, "other counts than the naive twin's");
}

/// Every colour has a mask of its own.
void coloursMaskedApart(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {twoByteTypes, colour}));
    Layout planes = like(in, src.layout(), UInt8, in.oneIn(16) ? 1 : 3);
    planes.packing = in.oneIn(16) ? Interleaved : Planar;
    const FuzzImage mask(in, planes);
    CxImageHistogram hist = anyHistogram(in, 4, levelsOf(src.buf()));
    const ResultCode rc = HistogramRGBGrayFromRGBMasked(src, mask, hist);
    addCount(out, rc, hist, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    oracle::Counts counts = countsFor(hist);
    oracle::grayAndColours(Twin(src), Twin(mask), counts);
    require(counts == hist, "other counts than the naive twin's");
}

FuzzImage anyRaw(ByteReader& in)
{
    Layout layout = countable(in, {twoByteTypes, {4, 4, 4, 3}});
    layout.packing = in.oneIn(16) ? Interleaved : Planar;
    return FuzzImage(in, layout);
}

void rawPlanar(ByteReader& in, Outcome& out)
{
    const FuzzImage src = anyRaw(in);
    CxImageHistogram hist = anyHistogram(in, 4, levelsOf(src.buf()));
    const ResultCode rc = HistogramRGBGrayFromRawPlanar(src, hist);
    addCount(out, rc, hist, src);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    oracle::Counts counts = countsFor(hist);
    oracle::rawPlanar(Twin(src), oracle::everywhere(), counts);
    require(counts == hist, "other counts than the naive twin's");
}

void rawPlanarMasked(ByteReader& in, Outcome& out)
{
    const FuzzImage src = anyRaw(in);
    const FuzzImage mask(in, in.oneIn(8) ? anyLayout(in, {everyType, everyChannels})
                                         : like(in, src.layout(), UInt8, 1));
    CxImageHistogram hist = anyHistogram(in, 4, levelsOf(src.buf()));
    const ResultCode rc = HistogramRGBGrayFromRawPlanarMasked(src, mask, hist);
    addCount(out, rc, hist, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask) || mask.layout().type != UInt8 ||
        mask.layout().channels != 1)
        return;
    oracle::Counts counts = countsFor(hist);
    const Twin selection(mask);
    oracle::rawPlanar(Twin(src), oracle::whereSet(selection), counts);
    require(counts == hist, "other counts than the naive twin's");
}

}  // namespace

Cases grayCases()
{
    return {{"gray: gray", &gray},
            {"gray: grayAndColours", &grayAndColours},
            {"gray: grayAndColoursMasked HistogramGrayFromRGBMasked",
             &grayAndColoursMasked<&HistogramGrayFromRGBMasked>},
            {"gray: grayAndColoursMasked HistogramRGBGrayFromRGBMasked",
             &grayAndColoursMasked<&HistogramRGBGrayFromRGBMasked>},
            {"gray: coloursMaskedApart", &coloursMaskedApart},
            {"gray: rawPlanar", &rawPlanar},
            {"gray: rawPlanarMasked", &rawPlanarMasked}};
}

}  // namespace ko::fuzz
