#include <ko/stats/entropy.h>

#include <ko/histogram_containers.h>
#include <ko/stats/histogram.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/log.h"
#include "stats/entropy_tables.h"

#include <QString>

#include <cmath>
#include <cstdint>

namespace ko {

namespace {

bool isMonoOf8Or16Bits(const SxImageInfo& info)
{
    return isMono(info) && hasType(info, UInt8, UInt16);
}

/// Counts a mono image into a histogram with as many levels as its depth has. Depths that cannot be counted are
/// refused before any memory is allocated.
template <class Count>
ResultCode countLevels(const SxImageInfo& info, CxImageHistogram& hist, const Count& count)
{
    constexpr int deepest = 16;
    if (info.bitsPerSample < 0 || info.bitsPerSample > deepest)
        return ResultFailed;
    hist.resize(1, 1 << info.bitsPerSample, 0);
    return isFailure(count(hist)) ? ResultFailed : ResultOk;
}

/// What an entropy is computed from.
struct Distribution {
    std::uint64_t pixels = 0;
    EntropyTable table;  ///< of all counts up to the number of pixels
    CxImageHistogram hist;
};

ResultCode measure(const SxImageBuf& src, EntropyTables& tables, double key, Distribution& distribution)
{
    distribution.pixels = static_cast<std::uint64_t>(src.width) * static_cast<std::uint64_t>(src.height);
    distribution.table = tables.get(key, distribution.pixels + 1);
    return countLevels(src, distribution.hist, [&](CxImageHistogram& hist) { return Histogram(src, hist); });
}

/// A base of logarithms or an order of entropy: 1 has no inverse. NaN passes, and makes the entropy NaN.
bool isPositiveButOne(double value)
{
    return !(value <= 0.0 || value == 1.0);
}

/// The level at which the variance between the levels up to it and those above it is largest; of equals the
/// highest. All counts and moments wrap at 32 bits, and what is divided or multiplied is read as signed.
unsigned otsuLevel(const std::uint32_t* counts, std::uint32_t levels)
{
    const auto number = [](std::uint32_t value) {
        return static_cast<double>(static_cast<std::int32_t>(value));
    };
    std::uint32_t total = 0, moment = 0;
    for (std::uint32_t level = 0; level < levels; ++level) {
        total += counts[level];
        moment += level * counts[level];
    }
    std::uint32_t below = 0, momentBelow = 0;
    double best = 0.0;
    unsigned threshold = 0;
    for (std::uint32_t level = 0; level < levels; ++level) {
        below += counts[level];
        const std::uint32_t above = total - below;
        if (below == 0 || above == 0)
            continue;
        momentBelow += counts[level] * level;
        const double meanAbove = number(moment - momentBelow) / number(above);
        const double distance = number(momentBelow) / static_cast<double>(below) - meanAbove;
        const double score = number(above * below) * distance * distance;
        if (score >= best) {
            best = score;
            threshold = level;
        }
    }
    return threshold;
}

}  // namespace

ResultCode EntropyShannon(const SxImageBuf& src, double& entropy, double base)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMonoOf8Or16Bits(src)},
                {ResultBadArg3, isPositiveButOne(base)},
                {ResultBadArg1, rowsFit(src)},
            }))
            return rc;
        Distribution of;
        if (const ResultCode rc = measure(src, logarithmTables(), base, of))
            return rc;
        const double* const logarithms = of.table->data();
        double sum = 0.0;
        for (int level = 0; level < of.hist.levels; ++level) {
            const std::uint32_t count = of.hist.bins[0][level];
            sum += (logarithms[count] - logarithms[of.pixels]) * count;
        }
        entropy = of.pixels == 0 ? 0.0 : -(1.0 / static_cast<double>(of.pixels)) * sum;
        return ResultOk;
    });
}

ResultCode EntropyRenyi(const SxImageBuf& src, double alpha, double& entropy, double base)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMonoOf8Or16Bits(src)},
                {ResultBadArg2, isPositiveButOne(alpha)},
                {ResultBadArg4, isPositiveButOne(base)},
                {ResultBadArg1, rowsFit(src)},
            }))
            return rc;
        Distribution of;
        if (const ResultCode rc = measure(src, powerTables(), alpha, of))
            return rc;
        const double* const powers = of.table->data();
        double sum = 0.0;
        for (int level = 0; level < of.hist.levels; ++level)
            sum += powers[of.hist.bins[0][level]];
        const double unit = std::log(base);
        entropy = (std::log(sum) / unit - alpha * std::log(static_cast<double>(of.pixels)) / unit) *
                  (1.0 / (1.0 - alpha));
        return ResultOk;
    });
}

ResultCode ComputeOtsuThreshold(const SxImageBuf& src, unsigned int& threshold)
{
    // No pixel is counted, so there is no level to find.
    threshold = 0;
    return firstFailure({{ResultBadArg1, isMonoOf8Or16Bits(src)}});
}

ResultCode ComputeOtsuThresholdMasked(const SxImageBuf& src, const SxImageBuf& mask, unsigned int& threshold)
{
    threshold = 0;
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isMonoOf8Or16Bits(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
            }))
            return rc;
        CxImageHistogram hist;
        const auto count = [&](CxImageHistogram& counted) { return HistogramMasked(src, mask, counted); };
        if (const ResultCode rc = countLevels(src, hist, count)) {
            logError(QStringLiteral("Failed to calculate the image histogram"));
            return rc;
        }
        threshold = otsuLevel(hist.bins[0], static_cast<std::uint32_t>(hist.levels));
        return ResultOk;
    });
}

}  // namespace ko
