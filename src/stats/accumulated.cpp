// What is made of accumulators: larger ones, means and variances.
#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "stats/accumulate_kernels.h"
#include "stats/accumulator_planes.h"

#include <ko/stats/accumulate.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

namespace ko {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

bool hasSamePlanes(const SxAccumulator& a, const SxAccumulator& b)
{
    const auto ofA = planesOf(a), ofB = planesOf(b);
    return std::equal(ofA.begin(), ofA.end(), ofB.begin(), [](const auto* x, const auto* y) {
        return isWanted(*x) == isWanted(*y) && (!isWanted(*x) || hasType(*x, y->dataType));
    });
}

bool canTake(const SxAccumulator& into, const SxAccumulator& from)
{
    return hasSamePlanes(into, from) && sameGeometry(anyPlane(into), anyPlane(from)) &&
           (!isWanted(into.above) || into.level == from.level);
}

void mergePlane(const SxImageBuf& from, SxImageBuf& into, MergeRow row)
{
    if (!isWanted(from))
        return;
    const RowWork work{sampleRows(into), 3 * rowBytes(into)};
    rowsDynamic(work,
                [&](std::int64_t y) noexcept { row(rowOf(from, y), rowOf(into, y), samplesPerRow(into)); });
}

/// The same for the extremes, which have the type of the frames.
void mergePlane(const SxImageBuf& from, SxImageBuf& into, const PerDepth<MergeRow>& rows)
{
    mergePlane(from, into, hasType(from, UInt8) ? rows.u8 : rows.u16);
}

/// Frames that were counted at each sample.
class SampleCounts {
public:
    explicit SampleCounts(const SxAccumulator& sums) : m_sums(sums) {}

    std::uint64_t at(std::int64_t y, std::int64_t i) const noexcept
    {
        return isWanted(m_sums.counts) ? loadSample<std::uint32_t>(rowOf(m_sums.counts, y), i)
                                       : m_sums.frames;
    }

private:
    const SxAccumulator& m_sums;
};

int bitsOf(Wide value) noexcept
{
    const auto high = static_cast<std::uint64_t>(value >> 64);
    return high != 0 ? 128 - std::countl_zero(high)
                     : 64 - std::countl_zero(static_cast<std::uint64_t>(value));
}

/// The double nearest to a quotient. The quotient of whole numbers gets 55 bits or more, of which the last one
/// stands for all that is left: what a double cannot hold is rounded once, as if nothing had been cut.
double nearestQuotient(Wide dividend, std::uint64_t divisor) noexcept
{
    const int shift = std::max(0, 56 - bitsOf(dividend) + bitsOf(divisor));
    const Wide shifted = dividend << shift;
    const Wide quotient = shifted / divisor;
    const Wide isCut = quotient * divisor != shifted ? 1 : 0;
    return std::ldexp(static_cast<double>(quotient | isCut), -shift);
}

double varianceOf(std::uint64_t n, std::uint64_t sum, std::uint64_t squares, std::uint64_t ddof) noexcept
{
    const Wide ofSquares = Wide{n} * squares, ofSum = Wide{sum} * sum;
    if (n <= ddof || ofSquares < ofSum)
        return noNumber;
    return nearestQuotient(ofSquares - ofSum, n * (n - ddof));
}

/// The samples of row y from sample `from` on.
VarianceBlock blockOf(const SxAccumulator& sums, std::int64_t y, std::int64_t from, int ddof) noexcept
{
    return {rowOf(sums.sum, y) + 8 * from, rowOf(sums.squares, y) + 8 * from,
            isWanted(sums.counts) ? rowOf(sums.counts, y) + 4 * from : nullptr,
            static_cast<std::uint32_t>(sums.frames), static_cast<double>(ddof)};
}

/// The same samples in numbers that hold any sums.
void exactVariances(const SxAccumulator& sums, std::int64_t y, std::int64_t from, int ddof,
                    std::span<double> variances) noexcept
{
    const SampleCounts counts(sums);
    for (std::size_t k = 0; k < variances.size(); ++k) {
        const std::int64_t i = from + static_cast<std::int64_t>(k);
        const auto sum = loadSample<std::uint64_t>(rowOf(sums.sum, y), i);
        const auto squares = loadSample<std::uint64_t>(rowOf(sums.squares, y), i);
        variances[k] = varianceOf(counts.at(y, i), sum, squares, static_cast<std::uint64_t>(ddof));
    }
}

}  // namespace

ResultCode MergeAccumulators(const SxAccumulator& from, SxAccumulator& into)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, hasPlanes(from) && hasFrames(from)},
                {ResultBadArg2, hasPlanes(into) && hasFrames(into) && canTake(into, from)},
                {ResultOutOfRange, into.frames + from.frames <= mostAccumulatedFrames},
                {ResultUnsupportedType, hasLayout(anyPlane(from))},
                {ResultBadArg1, planesFit(from)},
                {ResultBadArg2, planesFit(into)},
            }))
            return rc;
        const AccumulateKernels& kernels = accumulateKernels();
        mergePlane(from.sum, into.sum, kernels.addSums);
        mergePlane(from.squares, into.squares, kernels.addSums);
        mergePlane(from.minimum, into.minimum, kernels.minimum);
        mergePlane(from.maximum, into.maximum, kernels.maximum);
        mergePlane(from.above, into.above, kernels.addCounts);
        mergePlane(from.counts, into.counts, kernels.addCounts);
        into.frames += from.frames;
        return ResultOk;
    });
}

ResultCode AccumulatedMean(const SxAccumulator& sums, SxImageBuf& mean)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, hasPlanes(sums) && hasFrames(sums) && isWanted(sums.sum)},
                {ResultBadArg2, isPresent(mean) && sameGeometry(mean, sums.sum) && hasType(mean, Float64)},
                {ResultUnsupportedType, hasLayout(mean)},
                {ResultBadArg1, planesFit(sums)},
                {ResultBadArg2, rowsFit(mean)},
            }))
            return rc;
        const SampleCounts counts(sums);
        const RowWork work{sampleRows(mean), 2 * rowBytes(mean)};
        rowsStatic(work.times(4), [&](std::int64_t y) noexcept {
            for (std::int64_t i = 0; i < samplesPerRow(mean); ++i) {
                const std::uint64_t n = counts.at(y, i);
                const auto sum = loadSample<std::uint64_t>(rowOf(sums.sum, y), i);
                storeSample(rowOf(mean, y), i,
                            n != 0 ? static_cast<double>(sum) / static_cast<double>(n) : noNumber);
            }
        });
        return ResultOk;
    });
}

ResultCode AccumulatedVariance(const SxAccumulator& sums, int ddof, SxImageBuf& variance)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1,
                 hasPlanes(sums) && hasFrames(sums) && isWanted(sums.sum) && isWanted(sums.squares)},
                {ResultBadArg2, ddof == 0 || ddof == 1},
                {ResultBadArg3,
                 isPresent(variance) && sameGeometry(variance, sums.sum) && hasType(variance, Float64)},
                {ResultUnsupportedType, hasLayout(variance)},
                {ResultBadArg1, planesFit(sums)},
                {ResultBadArg3, rowsFit(variance)},
            }))
            return rc;
        const BlockVariance kernel = accumulateKernels().variances;
        const RowWork work{sampleRows(variance), 3 * rowBytes(variance)};
        rowsStatic(work.times(4), [&](std::int64_t y) noexcept {
            constexpr std::int64_t longest = 512;
            std::array<double, longest> block;
            const std::int64_t samples = samplesPerRow(variance);
            for (std::int64_t i = 0; i < samples; i += longest) {
                const std::int64_t count = std::min(longest, samples - i);
                if (!kernel(blockOf(sums, y, i, ddof), count, block.data()))
                    exactVariances(sums, y, i, ddof, {block.data(), static_cast<std::size_t>(count)});
                std::memcpy(rowOf(variance, y) + i * std::int64_t{sizeof(double)}, block.data(),
                            static_cast<std::size_t>(count) * sizeof(double));
            }
        });
        return ResultOk;
    });
}

}  // namespace ko
