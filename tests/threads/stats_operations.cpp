// Histograms and statistics.
#include "threads/call.h"

namespace ko::test {

namespace {

const QList<QPoint>& offsets()
{
    static const QList<QPoint> points{{0, 0}, {1, -2}, {3, 4}, {100, 0}};
    return points;
}

/// An accumulator of any numbers.
SxAccumulator accumulator(Call& c)
{
    SxAccumulator sums;
    sums.sum = c.image(UInt64);
    sums.squares = c.image(UInt64);
    sums.minimum = c.image(UInt16);
    sums.maximum = c.image(UInt16);
    sums.above = c.image(UInt32);
    sums.counts = c.image(UInt32);
    return sums;
}

}  // namespace

Operations histogramOperations()
{
    return {
        {"Histogram", [](Call& c) { c.status(Histogram(c.image(UInt8, 3), c.histogram(3))); }},
        {"Histogram of a region",
         [](Call& c) { c.status(Histogram(c.image(UInt8, 3), c.region, c.histogram(3))); }},
        {"Histogram of a channel",
         [](Call& c) { c.status(Histogram(c.image(UInt8, 3, Planar), 2, c.histogram(2), 1)); }},
        {"Histogram of a channel's region",
         [](Call& c) { c.status(Histogram(c.image(UInt8, 3), c.region, 1, c.histogram(1), 0)); }},
        {"Histogram of points",
         [](Call& c) { c.status(Histogram(c.image(UInt8, 3), QPoint(3, 4), offsets(), c.histogram(3))); }},
        {"Histogram of a channel's points",
         [](Call& c) {
             c.status(Histogram(c.image(UInt8, 3), QPoint(3, 4), offsets(), 1, c.histogram(3), 2));
         }},
        {"Histogram of a stencil",
         [](Call& c) { c.status(Histogram(c.image(UInt8, 3), c.stencil(), QPoint(2, 3), c.histogram(3))); }},
        {"Histogram of a channel's stencil",
         [](Call& c) {
             c.status(Histogram(c.image(UInt8, 3), c.stencil(), QPoint(2, 3), 2, c.histogram(3), 1));
         }},
        {"HistogramMasked",
         [](Call& c) { c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), c.histogram(3))); }},
        {"HistogramMasked of a region",
         [](Call& c) { c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), c.region, c.histogram(3))); }},
        {"HistogramMasked of a channel",
         [](Call& c) { c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), 1, c.histogram(2), 0)); }},
        {"HistogramMasked of a channel's region",
         [](Call& c) {
             int count = 0;
             c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), c.region, 1, c.histogram(2), 0, count));
             c.value(count);
         }},
        {"HistogramMasked of points",
         [](Call& c) {
             int count = 0;
             c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), QPoint(3, 4), offsets(), 1, c.histogram(3),
                                      0, count));
             c.value(count);
         }},
        {"HistogramMasked of a stencil",
         [](Call& c) {
             int count = 0;
             c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), c.stencil(), QPoint(1, 2), c.histogram(3),
                                      count));
             c.value(count);
         }},
        {"HistogramMasked of a channel's stencil",
         [](Call& c) {
             int count = 0;
             c.status(HistogramMasked(c.image(UInt8, 3), c.mask(), c.stencil(), QPoint(1, 2), 2,
                                      c.histogram(3), 1, count));
             c.value(count);
         }},
        {"HistogramEx", [](Call& c) { c.status(HistogramEx(c.mosaic(), c.histogram(1))); }},
        {"HistogramGrayFromRGB",
         [](Call& c) { c.status(HistogramGrayFromRGB(c.image(UInt8, 4), c.histogram(2), 1)); }},
        {"HistogramGrayFromRGBMasked",
         [](Call& c) { c.status(HistogramGrayFromRGBMasked(c.image(UInt8, 3), c.histogram(4), c.mask())); }},
        {"HistogramRGBGrayFromRGB",
         [](Call& c) { c.status(HistogramRGBGrayFromRGB(c.image(UInt8, 3), c.histogram(4))); }},
        {"HistogramRGBGrayFromRGBMasked",
         [](Call& c) {
             c.status(HistogramRGBGrayFromRGBMasked(c.image(UInt8, 3), c.histogram(4), c.mask()));
         }},
        {"HistogramRGBGrayFromRGBMasked with a mask of planes",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             const TestImage& mask = c.mask(3);
             c.status(HistogramRGBGrayFromRGBMasked(from.buf(), mask.buf(), c.histogram(4)));
         }},
        {"HistogramRGBGrayFromRawPlanar",
         [](Call& c) { c.status(HistogramRGBGrayFromRawPlanar(c.image(UInt8, 4, Planar), c.histogram(4))); }},
        {"HistogramRGBGrayFromRawPlanarMasked",
         [](Call& c) {
             c.status(
                 HistogramRGBGrayFromRawPlanarMasked(c.image(UInt8, 4, Planar), c.mask(), c.histogram(4)));
         }},
        {"RowHistogram", [](Call& c) { c.status(RowHistogram(c.image(UInt8, 3), 5, c.histogram(3))); }},
        {"ColHistogram", [](Call& c) { c.status(ColHistogram(c.image(UInt8, 3), 5, c.histogram(3))); }},
        {"RowHistogramMasked",
         [](Call& c) { c.status(RowHistogramMasked(c.image(UInt8, 3), c.mask(), 5, c.histogram(3))); }},
        {"ColHistogramMasked",
         [](Call& c) { c.status(ColHistogramMasked(c.image(UInt8, 3), c.mask(), 5, c.histogram(3))); }},
    };
}

Operations statsOperations()
{
    return {
        {"Histogram2D",
         [](Call& c) { c.status(Histogram2D(c.image(UInt8, 3), c.image(UInt8, 3), c.sparse(3))); }},
        {"Histogram2D of channels",
         [](Call& c) { c.status(Histogram2D(c.image(UInt8, 3), 1, c.image(UInt8, 3), 2, c.sparse(1))); }},
        {"RowHistogram2D",
         [](Call& c) {
             c.status(RowHistogram2D(c.image(UInt8, 3), 1, c.image(UInt8, 3), 2, 4, c.sparse(1)));
         }},
        {"ColHistogram2D",
         [](Call& c) {
             c.status(ColHistogram2D(c.image(UInt8, 3), 1, c.image(UInt8, 3), 2, 4, c.sparse(1)));
         }},
        {"HistogramMasked2D",
         [](Call& c) { c.status(HistogramMasked2D(c.image(), c.image(), c.mask(), c.dense(1))); }},
        {"HistogramMasked2D, sparse",
         [](Call& c) { c.status(HistogramMasked2D(c.image(), c.image(), c.mask(), c.sparse(1))); }},
        {"HistogramMasked2D of channels",
         [](Call& c) {
             c.status(HistogramMasked2D(c.image(UInt8, 3), 1, c.image(UInt8, 3), 2, c.mask(), c.dense(1)));
         }},
        {"HistogramMasked2D of channels, sparse",
         [](Call& c) {
             c.status(HistogramMasked2D(c.image(UInt8, 3), 1, c.image(UInt8, 3), 2, c.mask(), c.sparse(1)));
         }},
        {"MinMax",
         [](Call& c) {
             std::array<QVariant, 3> least;
             std::array<QVariant, 3> greatest;
             c.status(MinMax(c.image(Int16, 3), least.data(), greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"MinMaxMasked",
         [](Call& c) {
             std::array<QVariant, 3> least;
             std::array<QVariant, 3> greatest;
             c.status(MinMaxMasked(c.image(UInt16, 3), c.mask(), least.data(), greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"MinMaxMosaic",
         [](Call& c) {
             std::array<QVariant, 4> least;
             std::array<QVariant, 4> greatest;
             std::array<QPoint, 4> leastAt;
             std::array<QPoint, 4> greatestAt;
             c.status(MinMaxMosaic(c.mosaic(UInt16), 2, 2, least.data(), greatest.data(), leastAt.data(),
                                   greatestAt.data()));
             c.value(least), c.value(greatest), c.value(leastAt), c.value(greatestAt);
         }},
        {"Mean",
         [](Call& c) {
             std::array<double, 3> means{};
             c.status(Mean(c.image(UInt16, 3), c.region, means.data()));
             c.value(means);
         }},
        {"MeanMasked",
         [](Call& c) {
             std::array<double, 3> means{};
             c.status(MeanMasked(c.image(UInt16, 3), c.mask(), means.data()));
             c.value(means);
         }},
        {"MeanStdDevMasked",
         [](Call& c) {
             double mean = 0;
             double deviation = 0;
             c.status(MeanStdDevMasked(c.image(UInt16), c.mask(), &mean, &deviation));
             c.value(mean), c.value(deviation);
         }},
        {"EntropyShannon",
         [](Call& c) {
             double entropy = 0;
             c.status(EntropyShannon(c.image(UInt16), entropy, 2));
             c.value(entropy);
             // A base of the call's own size, so that tables come and go.
             c.status(EntropyShannon(c.image(), entropy, c.width));
             c.value(entropy);
         }},
        {"EntropyRenyi",
         [](Call& c) {
             double entropy = 0;
             c.status(EntropyRenyi(c.image(UInt16), 2, entropy, 2));
             c.value(entropy);
             c.status(EntropyRenyi(c.image(), 1.0 / c.width, entropy, 10));
             c.value(entropy);
         }},
        {"ComputeOtsuThreshold",
         [](Call& c) {
             unsigned threshold = 0;
             c.status(ComputeOtsuThreshold(c.image(), threshold));
             c.value(threshold);
         }},
        {"ComputeOtsuThresholdMasked",
         [](Call& c) {
             unsigned threshold = 0;
             c.status(ComputeOtsuThresholdMasked(c.image(UInt16), c.mask(), threshold));
             c.value(threshold);
         }},
        {"AccumulateFrames",
         [](Call& c) {
             SxAccumulator sums = accumulator(c);
             const QVector<SxImageBuf> frames{c.image(UInt16).buf(), c.image(UInt16).buf()};
             c.status(AccumulateFrames(frames, {c.mask().buf(), c.mask().buf()}, sums));
             c.value(sums.frames);
         }},
        {"ClearAccumulator",
         [](Call& c) {
             SxAccumulator sums = accumulator(c);
             c.status(ClearAccumulator(sums));
         }},
        {"MergeAccumulators",
         [](Call& c) {
             const SxAccumulator from = accumulator(c);
             SxAccumulator into = accumulator(c);
             c.status(MergeAccumulators(from, into));
         }},
        {"AccumulatedMean", [](Call& c) { c.status(AccumulatedMean(accumulator(c), c.image(Float64))); }},
        {"AccumulatedVariance",
         [](Call& c) { c.status(AccumulatedVariance(accumulator(c), 1, c.image(Float64))); }},
        {"Moments",
         [](Call& c) {
             std::array<SxMoments, 3> moments;
             c.status(Moments(c.image(UInt16, 3), moments.data()));
             c.bytes(moments.data(), sizeof(moments));
         }},
        {"MomentsMasked",
         [](Call& c) {
             std::array<SxMoments, 3> moments;
             c.status(MomentsMasked(c.image(UInt8, 3), c.mask(), moments.data()));
             c.bytes(moments.data(), sizeof(moments));
         }},
    };
}

}  // namespace ko::test
