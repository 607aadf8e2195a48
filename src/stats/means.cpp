#include <ko/stats/means.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "stats/moment_kernels.h"
#include "stats/selected_pixels.h"
#include "stats/square_kernels.h"
#include "stats/sum_kernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace ko {

namespace {

/// A region whose samples are summed by their index modulo `period`.
struct Region {
    const SxImageBuf& src;
    std::int64_t left, top, width, height;
    std::int64_t period;
    std::size_t imageBytes;

    Region(const SxImageBuf& image, const QRect& roi)
        : src(image),
          left(roi.left()),
          top(roi.top()),
          width(widthOf(roi)),
          height(heightOf(roi)),
          period(isPlanar(image) ? 1 : image.channels),
          imageBytes(imageByteSize(image))
    {
    }

    /// Sample `left * channels` of the row for planar images too: that of the first plane, and maybe a row or
    /// more further down.
    std::int64_t offsetOf(std::int64_t y) const noexcept
    {
        return (top + y) * src.stride + left * src.channels * bytesPerSample(src.dataType);
    }
    /// The samples of some rows that the image has memory for: all of them unless planes were stepped over.
    std::int64_t samplesAt(std::int64_t offset, std::int64_t rows) const noexcept
    {
        const auto start = std::min(static_cast<std::size_t>(offset), imageBytes);
        const std::size_t present =
            (imageBytes - start) / static_cast<std::size_t>(bytesPerSample(src.dataType));
        return static_cast<std::int64_t>(std::min(present, static_cast<std::size_t>(rows * width * period)));
    }
    std::int64_t rowSize() const noexcept { return width * period * bytesPerSample(src.dataType); }
    bool isGapless() const noexcept { return rowSize() == src.stride; }
    /// Rows that a row function takes in one call; with gaps too.
    RowRuns runs() const noexcept { return {{height, 2 * rowSize()}, true, rowSize()}; }
    double pixels() const noexcept { return static_cast<double>(width) * static_cast<double>(height); }
};

/// One sum per channel of the period.
template <class T>
std::vector<SumOf<T>> sumsOf(const Region& region)
{
    const SumRows<T>& kernels = sumKernels().of<T>();
    const std::int64_t laneCount = kernels.laneCount(region.period);
    std::vector<SumOf<T>> lanes(static_cast<std::size_t>(laneCount));
    const RowRuns runs = region.runs();
    const RowWork work = runs.work();
    const auto addRun = [&](SumOf<T>* partial, std::int64_t run) noexcept {
        const std::int64_t y = runs.firstRow(run), rows = runs.rowsOf(run);
        const auto add = [&](std::int64_t first, std::int64_t count, std::int64_t samples) noexcept {
            kernels.rows(region.src.data + region.offsetOf(first), region.src.stride, count, samples, partial,
                         laneCount);
        };
        const std::int64_t samples = region.width * region.period;
        if (region.isGapless())
            add(y, 1, region.samplesAt(region.offsetOf(y), rows));
        else if (region.samplesAt(region.offsetOf(y + rows - 1), 1) == samples)
            add(y, rows, samples);
        else
            for (std::int64_t row = y; row < y + rows; ++row)
                add(row, 1, region.samplesAt(region.offsetOf(row), 1));
    };
    if constexpr (std::is_floating_point_v<T>) {
        // Each addition rounds, so only one order of the rows gives one result for any number of threads.
        for (std::int64_t run = 0; run < work.rows; ++run)
            addRun(lanes.data(), run);
    } else {
        reducePerThread<SumOf<T>>(work, lanes.size(), addRun, [&](const SumOf<T>* partial) {
            std::transform(lanes.begin(), lanes.end(), partial, lanes.begin(), std::plus<>{});
        });
    }
    std::vector<SumOf<T>> sums(static_cast<std::size_t>(region.period));
    kernels.fold(lanes.data(), laneCount, sums.data(), region.period);
    return sums;
}

/// A wrapped sum as a number, with the sign that the sample type has.
template <class T>
double sumValue(SumOf<T> sum)
{
    if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return static_cast<double>(static_cast<std::make_signed_t<SumOf<T>>>(sum));
    else
        return static_cast<double>(sum);
}

bool hasColourFormat(const SxImageInfo& info)
{
    return isInterleaved(info) && info.channels > 1 && info.pixelFormat == 1;
}

/// Count and sum of the selected samples of one of the interleaved channels.
template <class T>
MaskedSum maskedSum(const SxImageBuf& src, std::int64_t channel, const SxImageBuf& mask)
{
    constexpr std::int64_t longestPiece = 4096;
    const GatherRow gather = squareKernels().gather.of<std::make_unsigned_t<T>>();
    const auto add = momentKernels().of<T>().add;
    std::array<std::uint8_t, longestPiece * sizeof(T)> piece;
    MaskedSum sum;
    for (std::int64_t y = 0; y < src.height; ++y) {
        for (std::int64_t x = 0; x < src.width; x += longestPiece) {
            const std::int64_t count = std::min(longestPiece, src.width - x);
            const std::uint8_t* samples =
                rowOf(src, y) + (x * src.channels + channel) * std::int64_t{sizeof(T)};
            if (!isMono(src)) {
                gather(samples, src.channels, count, piece.data());
                samples = piece.data();
            }
            add(samples, rowOf(mask, y) + x, count, sum);
        }
    }
    return sum;
}

/// Samples so narrow that sums of them are exact in integers, and so in double step by step.
template <class T>
inline constexpr bool isNarrow = std::is_integral_v<T> && sizeof(T) <= 2;

template <class T>
double meanOf(const MaskedSum& total)
{
    const auto count = static_cast<std::int64_t>(total.count);
    const std::int64_t sum = static_cast<std::int64_t>(total.sum) - momentBias<T> * count;
    return static_cast<double>(sum) / static_cast<double>(count);
}

struct Spread {
    double mean = 0.0;
    double stdDev = 0.0;
};

/// Adds the squared distances of the selected samples of a row one by one, rounding after each.
template <class T>
double addSquares(double sum, const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                  double mean)
{
    forEachNearSelected(mask, width, [&](std::int64_t x, bool isSelected) {
        const double distance = static_cast<double>(loadSample<T>(row, x)) - mean;
        sum += addend(distance * distance, isSelected);
    });
    return sum;
}

double powerOfTwoUpTo(double value)
{
    return value == 0.0 ? 0.0 : std::ldexp(1.0, std::ilogb(value));
}

/// `addSquares` over all rows, with most samples taken many at a time: from a power of two to the next the
/// last digit of a sum stays in its place, each square is rounded to it, and what has been rounded adds up
/// exactly in any order. It does not where a piece takes the sum to the next power of two, nor where a square
/// lies half way between two roundings and the sum's own last digit decides.
template <class T>
double sumOfSquares(const SxImageBuf& src, const SxImageBuf& mask, double mean, std::int64_t highest)
{
    constexpr std::int64_t longestPiece = 4096;
    const MomentRows& rows = momentKernels().of<T>();
    double sum = 0.0, anchor = 0.0, tested = 0.0;
    bool hasTies = false;
    for (std::int64_t y = 0; y < src.height; ++y) {
        for (std::int64_t x = 0; x < src.width; x += longestPiece) {
            const std::uint8_t* const row = rowOf(src, y) + x * std::int64_t{sizeof(T)};
            const std::uint8_t* const selected = rowOf(mask, y) + x;
            const std::int64_t width = std::min(longestPiece, src.width - x);
            const double squares = rows.squares(row, selected, width, mean, anchor);
            const bool staysBelow = squares == 0.0 || sum + squares < 2 * anchor;
            if (staysBelow && tested != anchor) {
                hasTies = rows.hasTies(highest, mean, anchor);
                tested = anchor;
            }
            if (staysBelow && !hasTies) {
                sum += squares;
                continue;
            }
            sum = addSquares<T>(sum, row, selected, width, mean);
            anchor = powerOfTwoUpTo(sum);
        }
    }
    return sum;
}

/// Mean and population deviation of a mono image in two passes over the selected samples.
template <class T>
Spread spreadOf(const SxImageBuf& src, const SxImageBuf& mask)
{
    double count = 0.0, mean = 0.0, squares = 0.0;
    if constexpr (isNarrow<T>) {
        const MaskedSum total = maskedSum<T>(src, 0, mask);
        count = static_cast<double>(total.count);
        mean = meanOf<T>(total);
        squares = sumOfSquares<T>(src, mask, mean, total.highest);
    } else {
        const std::array<double, 2> total = wideSums<T>(src, mask, std::array<double, 2>{});
        mean = total.front();
        count = total.back();
        mean /= count;
        for (std::int64_t y = 0; y < src.height; ++y)
            squares = addSquares<T>(squares, rowOf(src, y), rowOf(mask, y), src.width, mean);
    }
    return {mean, count != 0.0 ? std::sqrt(squares / count) : 0.0};
}

template <class T, class Sums>
void wideMeans(const SxImageBuf& src, const SxImageBuf& mask, const Sums& room, double* means)
{
    const Sums sums = wideSums<T>(src, mask, room);
    std::transform(sums.begin(), sums.end() - 1, means, [&](double sum) { return sum / sums.back(); });
}

/// Means of interleaved channels. Narrow samples are summed as integers, which changes no bit of the sums.
template <class T>
void channelMeans(const SxImageBuf& src, const SxImageBuf& mask, double* means)
{
    if constexpr (isNarrow<T>) {
        for (int c = 0; c < src.channels; ++c)
            means[c] = meanOf<T>(maskedSum<T>(src, c, mask));
    } else if (isMono(src)) {
        wideMeans<T>(src, mask, std::array<double, 2>{}, means);
    } else if (src.channels == 3) {
        wideMeans<T>(src, mask, std::array<double, 4>{}, means);
    } else {
        wideMeans<T>(src, mask, std::vector<double>(static_cast<std::size_t>(std::max(src.channels, 0)) + 1),
                     means);
    }
}

}  // namespace

ResultCode Mean(const SxImageBuf& src, const QRect& roi, double* means)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isInside(roi, src)},
                {ResultBadArg3, means != nullptr},
                {ResultOutOfRange, !hasColourFormat(src) || hasChannels(src, 3, 4)},
            }))
            return rc;
        if (!hasKnownPacking(src))
            return ResultOk;
        return dispatch(ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (src.channels < 1)
                                return;
                            const Region region(src, roi);
                            const std::vector<SumOf<T>> sums = sumsOf<T>(region);
                            const int count = hasColourFormat(src) ? 3 : src.channels;
                            for (int c = 0; c < count; ++c) {
                                const std::size_t from = isPlanar(src) ? 0 : static_cast<std::size_t>(c);
                                means[c] = sumValue<T>(sums[from]) / region.pixels();
                            }
                        });
    });
}

ResultCode MeanMasked(const SxImageBuf& src, const SxImageBuf& mask, double* means)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, means != nullptr},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(ByType{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (isInterleaved(src))
                                return channelMeans<T>(src, mask, means);
                            for (int plane = 0; plane < src.channels; ++plane)
                                channelMeans<T>(planeView(src, plane), mask, means + plane);
                        });
    });
}

ResultCode MeanStdDevMasked(const SxImageBuf& src, const SxImageBuf& mask, double* mean, double* stdDev)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMono(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, mean != nullptr || stdDev != nullptr},
                {ResultFailed, hasKnownPacking(src)},
            }))
            return rc;
        Spread spread;
        const ResultCode rc =
            dispatch(ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                     [&]<class T>(std::type_identity<T>) { spread = spreadOf<T>(src, mask); });
        if (rc != ResultOk && rc != ResultUnsupportedType)
            return rc;
        if (mean != nullptr)
            *mean = spread.mean;
        if (rc == ResultOk && stdDev != nullptr)
            *stdDev = spread.stdDev;
        return rc;
    });
}

}  // namespace ko
