// Stretching and compressing of bands.
#include "fuzz/tone/bands.h"
#include "fuzz/tone/families.h"
#include "oracle/contrast.h"

#include <ko/tone.h>

namespace ko::fuzz {

namespace {

void inPlace(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {toneTypes, everyChannels}));
    const FuzzImage mask(in, like(in, image.layout(), UInt8, 1));
    const int channel = anyChannel(in, image->channels);
    const Band band = anyBand(in, image.layout());
    const bool isMasked = in.flag();
    const ResultCode rc = isMasked
                              ? ThresholdAndStretchHistogramMasked(image, mask, channel, band.low, band.high)
                              : ThresholdAndStretchHistogram(image, channel, band.low, band.high);
    addCall(out, rc, image, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(image, mask) || !isWithin(band, image.layout()) ||
        isWhole(band, image.layout()) || channel == image->channels)
        return;
    Twin expected(image);
    const Twin selection(mask);
    oracle::stretch(Twin(image), channel, expected, channel, isMasked ? &selection : nullptr, band.low,
                    band.high);
    expected.requireEqual(image);
}

void copy(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {toneTypes, everyChannels});
    const FuzzImage src(in, layout), mask(in, like(in, layout, UInt8, 1));
    Layout other = like(in, layout, layout.type, in.pick(everyChannels), layout.bits);
    if (in.oneIn(8))
        other.packing = Planar;
    FuzzImage dst(in, other);
    const int from = anyChannel(in, src->channels), to = anyChannel(in, dst->channels);
    const Band band = anyBand(in, layout);
    const bool isMasked = in.flag();
    const ResultCode rc =
        isMasked ? ThresholdAndStretchHistogramMasked(src, from, dst, to, mask, band.low, band.high)
                 : ThresholdAndStretchHistogram(src, from, dst, to, band.low, band.high);
    addCall(out, rc, dst, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask, dst) || isWhole(band, layout))
        return;
    Twin expected(dst);
    const Twin selection(mask);
    oracle::stretch(Twin(src), from, expected, to, isMasked ? &selection : nullptr, band.low, band.high);
    expected.requireEqual(dst);
}

void gray(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {toneTypes, everyChannels});
    const FuzzImage src(in, layout);
    const bool isFit = !in.oneIn(8);
    const FuzzImage mask(in, isFit ? like(in, layout, UInt8, 1) : anyLayout(in, {everyType, everyChannels}));
    FuzzImage dst(in, like(in, layout, layout.type, in.oneIn(4) ? in.pick(everyChannels) : layout.channels,
                           layout.bits));
    const Band band = anyBand(in, layout);
    const bool isMasked = in.flag();
    const ResultCode rc = isMasked
                              ? ThresholdAndStretchHistogramGrayMasked(src, mask, dst, band.low, band.high)
                              : ThresholdAndStretchHistogramGray(src, dst, band.low, band.high);
    addCall(out, rc, dst, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask, dst) || (isMasked && !isFit))
        return;
    Twin expected(dst);
    const Twin selection(mask);
    oracle::compress(Twin(src), expected, isMasked ? &selection : nullptr, band.low, band.high);
    expected.requireEqual(dst);
}

/// One image as source and destination of the copying forms.
void copyOntoItself(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {toneTypes, everyChannels}));
    const FuzzImage mask(in, like(in, image.layout(), UInt8, 1));
    const int channel = anyChannel(in, image->channels);
    const Band band = anyBand(in, image.layout());
    const bool isMasked = in.flag(), isGray = in.flag();
    ResultCode rc = ResultOk;
    if (isGray)
        rc = isMasked ? ThresholdAndStretchHistogramGrayMasked(image, mask, image, band.low, band.high)
                      : ThresholdAndStretchHistogramGray(image, image, band.low, band.high);
    else
        rc = isMasked ? ThresholdAndStretchHistogramMasked(image, channel, image, channel, mask, band.low,
                                                           band.high)
                      : ThresholdAndStretchHistogram(image, channel, image, channel, band.low, band.high);
    addCall(out, rc, image, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(image, mask) || isWhole(band, image.layout()))
        return;
    Twin expected(image);
    const Twin source(image), selection(mask);
    const Twin* const selects = isMasked ? &selection : nullptr;
    if (isGray)
        oracle::compress(source, expected, selects, band.low, band.high);
    else
        oracle::stretch(source, channel, expected, channel, selects, band.low, band.high);
    expected.requireEqual(image);
}

}  // namespace

Cases contrastCases()
{
    return {{"contrast: inPlace", &inPlace},
            {"contrast: copy", &copy},
            {"contrast: gray", &gray},
            {"contrast: copyOntoItself", &copyOntoItself}};
}

}  // namespace ko::fuzz
