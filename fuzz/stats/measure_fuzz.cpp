// Extremes, means, entropies and thresholds.
#include "base/dispatch.h"
#include "base/values.h"
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"
#include "oracle/entropy.h"
#include "oracle/extremes.h"
#include "oracle/means.h"

#include <ko/stats/entropy.h>
#include <ko/stats/extremes.h>
#include <ko/stats/means.h>

#include <cmath>
#include <vector>

namespace ko::fuzz {

namespace {

/// The arrays for the results; either may be missing.
struct Extremes {
    std::vector<QVariant> lows, highs;
    bool hasLow, hasHigh;

    Extremes(ByteReader& in, std::size_t count)
        : lows(count), highs(count), hasLow(!in.oneIn(16)), hasHigh(!in.oneIn(16))
    {
    }

    QVariant* low() { return hasLow ? lows.data() : nullptr; }
    QVariant* high() { return hasHigh ? highs.data() : nullptr; }

    void addTo(Outcome& out, ResultCode rc) const
    {
        out.add(rc);
        for (std::size_t i = 0; i < 9 && i < lows.size(); ++i) {
            require(!isFailure(rc) || (!lows[i].isValid() && !highs[i].isValid()), "a failure has results");
            out.add(lows[i]);
            out.add(highs[i]);
        }
    }

    template <class T>
    void requireEqual(std::size_t i, const oracle::Extreme<T>& extreme) const
    {
        require(typedValue<T>(lows[i]) == extreme.low, "another minimum");
        require(typedValue<T>(highs[i]) == extreme.high, "another maximum");
    }
};

void minMax(ByteReader& in, Outcome& out)
{
    FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    if (in.oneIn(4))
        src->bayerGrid = in.pick({BayerRGGB, BayerGBRG});
    Extremes found(in, resultsOf(src));
    const ResultCode rc = MinMax(src, found.low(), found.high());
    require(src.isUntouched(), "the source has changed");
    found.addTo(out, rc);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    const Twin twin(src);
    const bool isMosaic = src->channels == 1 && src->bayerGrid != BayerNone;
    (void)dispatch(ByType{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        for (int i = 0; i < (isMosaic ? 4 : src->channels); ++i)
            found.requireEqual<T>(static_cast<std::size_t>(i),
                                  isMosaic ? oracle::cellExtreme<T>(twin, 2, 2, i)
                                           : oracle::channelExtreme<T>(twin, i, nullptr));
    });
}

void minMaxMasked(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    Extremes found(in, resultsOf(src));
    const ResultCode rc = MinMaxMasked(src, mask, found.low(), found.high());
    require(src.isUntouched() && mask.isUntouched(), "a source has changed");
    found.addTo(out, rc);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    const Twin twin(src), selection(mask);
    (void)dispatch(ByType{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < src->channels; ++c)
            found.requireEqual<T>(static_cast<std::size_t>(c),
                                  oracle::channelExtreme<T>(twin, c, &selection));
    });
}

void minMaxMosaic(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {everyType});
    const int across = in.between(1, 5), down = in.between(1, 5);
    layout.width = layout.width / across * across;
    layout.height = layout.height / down * down;
    const FuzzImage src(in, layout);
    const int cellWidth = in.oneIn(8) ? in.integer() : across, cellHeight = in.oneIn(8) ? in.integer() : down;
    const bool isSmall = cellWidth > 0 && cellWidth <= 200 && cellHeight > 0 && cellHeight <= 200;
    const std::size_t cells = isSmall ? static_cast<std::size_t>(cellWidth * cellHeight) : 1;
    Extremes found(in, cells);
    std::vector<QPoint> lowsAt(cells), highsAt(cells);
    QPoint* const lowAt = in.oneIn(8) ? nullptr : lowsAt.data();
    QPoint* const highAt = in.oneIn(8) ? nullptr : highsAt.data();
    // The record says how large a cell may be: without room for the results there must be an error.
    if (!isSmall && src->width >= cellWidth && src->height >= cellHeight && cellWidth > 0 && cellHeight > 0)
        return;
    const ResultCode rc = MinMaxMosaic(src, cellWidth, cellHeight, found.low(), found.high(), lowAt, highAt);
    require(src.isUntouched(), "the source has changed");
    found.addTo(out, rc);
    out.add(lowsAt[0]);
    out.add(highsAt[0]);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    const Twin twin(src);
    (void)dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        for (std::size_t i = 0; i < cells; ++i) {
            const auto extreme = oracle::cellExtreme<T>(twin, cellWidth, cellHeight, static_cast<int>(i));
            found.requireEqual<T>(i, extreme);
            require(lowAt == nullptr || lowsAt[i] == extreme.lowAt, "the minimum is elsewhere");
            require(highAt == nullptr || highsAt[i] == extreme.highAt, "the maximum is elsewhere");
        }
    });
}

bool areEqual(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

void mean(ByteReader& in, Outcome& out)
{
    FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    if (in.flag())
        src->pixelFormat = in.below(3);
    const QRect roi = anyRect(in, src.layout());
    std::vector<double> means(resultsOf(src), 77.0);
    const ResultCode rc = Mean(src, roi, in.oneIn(16) ? nullptr : means.data());
    require(src.isUntouched(), "the source has changed");
    out.add(rc);
    for (std::size_t i = 0; i < 5 && i < means.size(); ++i)
        out.add(means[i]);
    const bool isPlain = src->packing == Interleaved || src->channels == 1;
    if (rc != ResultOk || !out.isJudged() || !src.isSound() || !isPlain)
        return;
    const Twin twin(src);
    const int count = src->channels > 1 && src->pixelFormat == 1 ? 3 : src->channels;
    (void)dispatch(ByType{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < count; ++c)
            require(areEqual(means[static_cast<std::size_t>(c)], oracle::mean<T>(twin, roi, c)),
                    "another mean");
    });
}

void meanMasked(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    std::vector<double> means(resultsOf(src), 77.0);
    const ResultCode rc = MeanMasked(src, mask, in.oneIn(16) ? nullptr : means.data());
    require(src.isUntouched() && mask.isUntouched(), "a source has changed");
    out.add(rc);
    for (std::size_t i = 0; i < 5 && i < means.size(); ++i)
        out.add(means[i]);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    const Twin twin(src), selection(mask);
    (void)dispatch(ByType{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < src->channels; ++c)
            require(areEqual(means[static_cast<std::size_t>(c)], oracle::meanMasked<T>(twin, selection, c)),
                    "another mean");
    });
}

void meanStdDev(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {everyType}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    double average = 77.0, deviation = 77.0;
    const bool hasMean = !in.oneIn(8), hasDeviation = !in.oneIn(8);
    const ResultCode rc =
        MeanStdDevMasked(src, mask, hasMean ? &average : nullptr, hasDeviation ? &deviation : nullptr);
    require(src.isUntouched() && mask.isUntouched(), "a source has changed");
    out.add(rc);
    out.add(average);
    out.add(deviation);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    const Twin twin(src), selection(mask);
    (void)dispatch(ByType{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        require(!hasMean || areEqual(average, oracle::meanMasked<T>(twin, selection, 0)), "another mean");
        require(!hasDeviation || areEqual(deviation, oracle::stdDevMasked<T>(twin, selection)),
                "another deviation");
    });
}

/// A base or an order: ordinary mostly.
double anyParameter(ByteReader& in)
{
    return in.oneIn(4) ? in.real() : in.pick({2.0, 10.0, 0.5, 3.0});
}

/// The twins sum in another order.
bool areClose(double a, double b)
{
    return areEqual(a, b) || std::abs(a - b) <= 1e-9 * (1.0 + std::abs(a));
}

bool hasOrdinaryCounts(const FuzzImage& src)
{
    return src.isSound() && src.layout().bits == 0 && src->width > 0 && src->height > 0;
}

void shannon(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes}));
    const double base = anyParameter(in);
    double entropy = 77.0;
    const ResultCode rc = EntropyShannon(src, entropy, base);
    require(src.isUntouched(), "the source has changed");
    require(!isFailure(rc) || entropy == 77.0, "a failure has a result");
    out.add(rc);
    out.add(entropy);
    const bool isOrdinary = base == 2.0 || base == 10.0 || base == 0.5 || base == 3.0;
    if (rc == ResultOk && out.isJudged() && hasOrdinaryCounts(src) && isOrdinary)
        require(areClose(entropy, oracle::shannon(Twin(src), base)), "another entropy");
}

void renyi(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes}));
    const double alpha = anyParameter(in), base = anyParameter(in);
    double entropy = 77.0;
    const ResultCode rc = EntropyRenyi(src, alpha, entropy, base);
    require(src.isUntouched(), "the source has changed");
    require(!isFailure(rc) || entropy == 77.0, "a failure has a result");
    out.add(rc);
    out.add(entropy);
    const auto isOrdinary = [](double p) { return p == 2.0 || p == 10.0 || p == 0.5 || p == 3.0; };
    if (rc == ResultOk && out.isJudged() && hasOrdinaryCounts(src) && isOrdinary(alpha) && isOrdinary(base))
        require(areClose(entropy, oracle::renyi(Twin(src), alpha, base)), "another entropy");
}

void otsu(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, countable(in, {countableTypes}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    unsigned threshold = 77;
    out.add(ComputeOtsuThreshold(src, threshold));
    require(threshold == 0, "a threshold of nothing");
    threshold = 77;
    const ResultCode rc = ComputeOtsuThresholdMasked(src, mask, threshold);
    require(src.isUntouched() && mask.isUntouched(), "a source has changed");
    require(!isFailure(rc) || threshold == 0, "a failure has a result");
    out.add(rc);
    out.add(threshold);
    if (rc == ResultOk && out.isJudged() && areSound(src, mask) && src.layout().bits == 0)
        require(threshold == oracle::otsu(Twin(src), Twin(mask)), "another threshold");
}

}  // namespace

Cases measureCases()
{
    return {{"measure: minMax", &minMax},
            {"measure: minMaxMasked", &minMaxMasked},
            {"measure: minMaxMosaic", &minMaxMosaic},
            {"measure: mean", &mean},
            {"measure: meanMasked", &meanMasked},
            {"measure: meanStdDev", &meanStdDev},
            {"measure: shannon", &shannon},
            {"measure: renyi", &renyi},
            {"measure: otsu", &otsu}};
}

}  // namespace ko::fuzz
