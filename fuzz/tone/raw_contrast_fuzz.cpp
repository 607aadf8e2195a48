// Bands of raw images of four planes.
#include "fuzz/tone/bands.h"
#include "fuzz/tone/families.h"
#include "oracle/contrast.h"

#include <ko/tone.h>

namespace ko::fuzz {

namespace {

Layout anyRaw(ByteReader& in)
{
    Layout layout = anyLayout(in, {toneTypes, {4, 4, 4, 4, 3, 1}});
    layout.packing = in.oneIn(12) ? Interleaved : Planar;
    return layout;
}

bool isRaw(const Layout& layout)
{
    return layout.channels == 4 && layout.packing == Planar;
}

void gray(ByteReader& in, Outcome& out)
{
    const Layout layout = anyRaw(in);
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout, layout.type, in.pick({3, 4, 3, 1, 5}), layout.bits));
    const Band band = anyBand(in, layout);
    const ResultCode rc = ThresholdAndStretchHistogramGrayRawPlanar(src, dst, band.low, band.high);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst) || !isRaw(layout))
        return;
    Twin expected(dst);
    oracle::compressRaw(Twin(src), expected, nullptr, band.low, band.high);
    expected.requireEqual(dst);
}

/// A mask is refused here when it is one: larger images of bytes with several channels are taken.
void grayMasked(ByteReader& in, Outcome& out)
{
    const Layout layout = anyRaw(in);
    const FuzzImage src(in, layout);
    Layout odd = like(in, layout, UInt8, 3);
    odd.width += in.between(1, 4);
    odd.height += in.below(3);
    const FuzzImage mask(in, in.oneIn(8) ? anyLayout(in, {everyType, everyChannels}) : odd);
    FuzzImage dst(in, like(in, layout, layout.type, in.pick({3, 4, 3, 1, 5}), layout.bits));
    const Band band = anyBand(in, layout);
    const ResultCode rc =
        ThresholdAndStretchHistogramGrayRawPlanarMasked(src, mask, dst, band.low, band.high);
    addCall(out, rc, dst, src, mask);
}

void green(ByteReader& in, Outcome& out)
{
    const Layout layout = anyRaw(in);
    const FuzzImage src(in, layout), mask(in, like(in, layout, UInt8, 1));
    FuzzImage dst(in, like(in, layout, layout.type, in.pick({3, 4, 3, 1, 5}), layout.bits));
    const int channel = anyChannel(in, dst->channels);
    const Band band = anyBand(in, layout);
    const bool isMasked = in.flag();
    const ResultCode rc =
        isMasked
            ? ThresholdAndStretchHistogramGreenRawPlanarMasked(src, dst, channel, mask, band.low, band.high)
            : ThresholdAndStretchHistogramGreenRawPlanar(src, dst, channel, band.low, band.high);
    addCall(out, rc, dst, src, mask);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask, dst) || !isWithin(band, layout))
        return;
    Twin expected(dst);
    const Twin selection(mask);
    oracle::stretchGreen(Twin(src), expected, channel, isMasked ? &selection : nullptr, band.low, band.high);
    expected.requireEqual(dst);
}

}  // namespace

Cases rawContrastCases()
{
    return {{"rawContrast: gray", &gray},
            {"rawContrast: grayMasked", &grayMasked},
            {"rawContrast: green", &green}};
}

}  // namespace ko::fuzz
