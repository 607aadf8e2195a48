#include <ko/stats/means.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "stats/float_sum_kernels.h"
#include "stats/moment_kernels.h"
#include "stats/selected_pixels.h"
#include "stats/square_kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace ko {

namespace {

/// Counts and sums of the selected samples of interleaved channels, all of them while a piece of a row is in the cache.
template <class T>
void addMasked(const SxImageBuf& src, const SxImageBuf& mask, std::span<MaskedSum> sums) noexcept
{
    constexpr std::int64_t longestPiece = 4096;
    const GatherRow gather = squareKernels().gather.of<std::make_unsigned_t<T>>();
    const auto add = momentKernels().of<T>().add;
    std::array<std::uint8_t, longestPiece * sizeof(T)> piece;
    for (std::int64_t y = 0; y < src.height; ++y) {
        for (std::int64_t x = 0; x < src.width; x += longestPiece) {
            const std::int64_t count = std::min(longestPiece, src.width - x);
            const std::uint8_t* samples = rowOf(src, y) + x * src.channels * std::int64_t{sizeof(T)};
            const std::uint8_t* const selected = rowOf(mask, y) + x;
            if (sums.size() == 1) {
                add(samples, selected, count, sums.front());
                continue;
            }
            for (MaskedSum& sum : sums) {
                gather(samples, src.channels, count, piece.data());
                add(piece.data(), selected, count, sum);
                samples += sizeof(T);
            }
        }
    }
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

/// The largest power of two of which a number other than 0 is a multiple.
double unitOf(double value)
{
    int exponent = 0;
    constexpr int digits = std::numeric_limits<double>::digits;
    const auto whole = static_cast<std::int64_t>(std::ldexp(std::frexp(value, &exponent), digits));
    return std::ldexp(1.0, exponent - digits + std::countr_zero(static_cast<std::uint64_t>(whole)));
}

/// Whether no addition of these floats to a sum rounds, in whatever order: all sums on the way are multiples of a power of
/// two, and less than 2^52 times as large.
bool addExactly(double sum, const FloatSum& floats)
{
    constexpr std::uint32_t infinite = 0x7F800000U;
    if (floats.highest >= infinite || !std::isfinite(sum))
        return false;
    if (floats.highest == 0)
        return true;
    const double lowest = static_cast<double>(std::bit_cast<float>(floats.lowest + 1U));
    // All are multiples of the last digit that the lowest one has room for.
    double unit =
        std::ldexp(1.0, std::max(std::ilogb(lowest), std::numeric_limits<float>::min_exponent - 1) - 23);
    if (sum != 0.0)
        unit = std::min(unit, unitOf(sum));
    const double most = static_cast<double>(std::bit_cast<float>(floats.highest));
    return std::abs(sum) + most * static_cast<double>(floats.count) < 0x1p52 * unit;
}

/// Sum of the selected samples of a mono image, each rounded after each addition, and their number.
template <class T>
std::array<double, 2> sumOf(const SxImageBuf& src, const SxImageBuf& mask)
{
    return wideSums<T>(src, mask, std::array<double, 2>{});
}

/// Floats are added in any order as long as that is exact.
template <>
std::array<double, 2> sumOf<float>(const SxImageBuf& src, const SxImageBuf& mask)
{
    const SumFloats sumRow = sumFloats();
    std::array<double, 2> total{};
    int y = 0;
    for (; y < src.height; ++y) {
        const FloatSum row = sumRow(rowOf(src, y), rowOf(mask, y), src.width);
        if (!addExactly(total[0], row))
            break;
        total[0] += row.sum;
        total[1] += static_cast<double>(row.count);
    }
    for (; y < src.height; ++y)
        addSamples<float>(rowOf(src, y), rowOf(mask, y), src.width, total);
    return total;
}

/// Mean and population deviation of a mono image in two passes over the selected samples.
template <class T>
Spread spreadOf(const SxImageBuf& src, const SxImageBuf& mask)
{
    double count = 0.0, mean = 0.0, squares = 0.0;
    if constexpr (isNarrow<T>) {
        MaskedSum total;
        addMasked<T>(src, mask, {&total, 1});
        count = static_cast<double>(total.count);
        mean = meanOf<T>(total);
        squares = sumOfSquares<T>(src, mask, mean, total.highest);
    } else {
        const std::array<double, 2> total = sumOf<T>(src, mask);
        mean = total.front();
        count = total.back();
        mean /= count;
        for (std::int64_t y = 0; y < src.height; ++y)
            squares = addSquares<T>(squares, rowOf(src, y), rowOf(mask, y), src.width, mean);
    }
    return {mean, count != 0.0 ? std::sqrt(squares / count) : 0.0};
}

template <class Sums>
void meansOf(const Sums& sums, double* means)
{
    std::transform(sums.begin(), sums.end() - 1, means, [&](double sum) { return sum / sums.back(); });
}

/// Means of interleaved channels. Narrow samples are summed as integers, which changes no bit of the sums.
template <class T>
void channelMeans(const SxImageBuf& src, const SxImageBuf& mask, double* means)
{
    if constexpr (isNarrow<T>) {
        std::vector<MaskedSum> sums(static_cast<std::size_t>(std::max(src.channels, 0)));
        addMasked<T>(src, mask, sums);
        std::transform(sums.begin(), sums.end(), means, meanOf<T>);
    } else if (isMono(src)) {
        meansOf(sumOf<T>(src, mask), means);
    } else if (src.channels == 3) {
        meansOf(wideSums<T>(src, mask, std::array<double, 4>{}), means);
    } else {
        const auto channels = static_cast<std::size_t>(std::max(src.channels, 0));
        meansOf(wideSums<T>(src, mask, std::vector<double>(channels + 1)), means);
    }
}

}  // namespace

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
