#include <ko/stats/means.h>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/image_view.h"
#include "frame/boundary.h"
#include "frame/rows.h"
#include "stats/moment_kernels.h"
#include "stats/sum_kernels.h"

#include <algorithm>
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
    /// The samples of a row that the image has memory for: all of them unless planes were stepped over.
    std::int64_t samplesAt(std::int64_t offset) const noexcept
    {
        const auto start = std::min(static_cast<std::size_t>(offset), imageBytes);
        const std::size_t present =
            (imageBytes - start) / static_cast<std::size_t>(bytesPerSample(src.dataType));
        return static_cast<std::int64_t>(std::min(present, static_cast<std::size_t>(width * period)));
    }
    double pixels() const noexcept { return static_cast<double>(width) * static_cast<double>(height); }
};

/// One sum per channel of the period.
template <class T>
std::vector<SumOf<T>> sumsOf(const Region& region)
{
    const SumRows<T>& kernels = sumKernels().of<T>();
    const std::int64_t laneCount = kernels.laneCount(region.period);
    std::vector<SumOf<T>> lanes(static_cast<std::size_t>(laneCount));
    const auto addRow = [&](SumOf<T>* partial, std::int64_t y) noexcept {
        const std::int64_t offset = region.offsetOf(y);
        kernels.row(region.src.data + offset, region.samplesAt(offset), partial, laneCount);
    };
    if constexpr (std::is_floating_point_v<T>) {
        // Each addition rounds, so only one order of the rows gives one result for any number of threads.
        for (std::int64_t y = 0; y < region.height; ++y)
            addRow(lanes.data(), y);
    } else {
        reducePerThread<SumOf<T>>(region.height, lanes.size(), addRow, [&](const SumOf<T>* partial) {
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

bool isColour(const SxImageInfo& info)
{
    return isInterleaved(info) && info.channels > 1 && info.pixelFormat == 1;
}

/// Exact sums of a mono image under a mask.
template <class T>
Moments momentsOf(const SxImageBuf& src, const SxImageBuf& mask)
{
    Moments moments;
    const MomentsRow row = momentKernels().of<T>();
    for (std::int64_t y = 0; y < src.height; ++y)
        row(rowOf(src, y), rowOf(mask, y), src.width, moments);
    return moments;
}

/// Calls `visit(row, x)` for every selected pixel in raster order.
template <class Visit>
void forEachSelected(const SxImageBuf& src, const SxImageBuf& mask, const Visit& visit)
{
    for (std::int64_t y = 0; y < src.height; ++y) {
        const std::uint8_t* const row = rowOf(src, y);
        const std::uint8_t* const marks = rowOf(mask, y);
        for (std::int64_t x = 0; x < src.width; ++x) {
            if (marks[x] != 0)
                visit(row, x);
        }
    }
}

/// Samples so narrow that sums of them and of their squares are exact in integers.
template <class T>
inline constexpr bool isNarrow = std::is_integral_v<T> && sizeof(T) <= 2;

struct Spread {
    double mean = 0.0;
    double stdDev = 0.0;
};

/// Mean and population deviation from exact sums. The numerator count * squares - sum * sum needs 128 bits.
template <class T>
Spread spreadOf(const Moments& moments)
{
    __extension__ using Exact = unsigned __int128;
    const auto count = static_cast<double>(moments.count);
    const auto sum =
        static_cast<std::int64_t>(moments.sum) - momentBias<T> * static_cast<std::int64_t>(moments.count);
    Spread spread{static_cast<double>(sum) / count, 0.0};
    if (moments.count != 0) {
        const Exact scaled = Exact{moments.count} * moments.squares - Exact{moments.sum} * moments.sum;
        spread.stdDev = std::sqrt(static_cast<double>(scaled) / count / count);
    }
    return spread;
}

/// Mean and population deviation of a mono image in two passes over the selected samples.
template <class T>
Spread twoPassSpread(const SxImageBuf& src, const SxImageBuf& mask)
{
    double count = 0.0, sum = 0.0, squares = 0.0;
    forEachSelected(src, mask, [&](const std::uint8_t* row, std::int64_t x) {
        sum += static_cast<double>(loadSample<T>(row, x));
        count += 1.0;
    });
    Spread spread{sum / count, 0.0};
    forEachSelected(src, mask, [&](const std::uint8_t* row, std::int64_t x) {
        const double distance = static_cast<double>(loadSample<T>(row, x)) - spread.mean;
        squares += distance * distance;
    });
    if (count != 0.0)
        spread.stdDev = std::sqrt(squares / count);
    return spread;
}

/// Two passes, rounded step by step, are what the deviation is defined by. Over more narrow samples than this
/// the exact sums, which differ in the last digits, save time that counts.
constexpr std::int64_t fewPixels = 65536;

template <class T>
Spread maskedSpread(const SxImageBuf& src, const SxImageBuf& mask)
{
    if constexpr (isNarrow<T>) {
        if (std::int64_t{src.width} * src.height > fewPixels)
            return spreadOf<T>(momentsOf<T>(src, mask));
    }
    return twoPassSpread<T>(src, mask);
}

/// Means of interleaved channels. Narrow samples are summed as integers, which changes no bit of the sums.
template <class T>
void channelMeans(const SxImageBuf& src, const SxImageBuf& mask, double* means)
{
    using Sum = std::conditional_t<isNarrow<T>, std::int64_t, double>;
    if constexpr (isNarrow<T>) {
        if (isMono(src)) {
            *means = spreadOf<T>(momentsOf<T>(src, mask)).mean;
            return;
        }
    }
    const std::int64_t channels = std::max(src.channels, 0);
    std::vector<Sum> sums(static_cast<std::size_t>(channels));
    double count = 0.0;
    forEachSelected(src, mask, [&](const std::uint8_t* row, std::int64_t x) {
        for (std::int64_t c = 0; c < channels; ++c)
            sums[static_cast<std::size_t>(c)] += static_cast<Sum>(loadSample<T>(row, x * channels + c));
        count += 1.0;
    });
    std::transform(sums.begin(), sums.end(), means,
                   [&](Sum sum) { return static_cast<double>(sum) / count; });
}

}  // namespace

ResultCode Mean(const SxImageBuf& src, const QRect& roi, double* means)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isInside(roi, src)},
                {ResultBadArg3, means != nullptr},
                {ResultOutOfRange, !isColour(src) || hasChannels(src, 3, 4)},
            }))
            return rc;
        if (!isInterleaved(src) && !isPlanar(src))
            return ResultOk;
        return dispatch(ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (src.channels < 1)
                                return;
                            const Region region(src, roi);
                            const std::vector<SumOf<T>> sums = sumsOf<T>(region);
                            const int count = isColour(src) ? 3 : src.channels;
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
                {ResultUnsupportedType, isInterleaved(src) || isPlanar(src)},
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
                {ResultFailed, isInterleaved(src) || isPlanar(src)},
            }))
            return rc;
        Spread spread;
        const ResultCode rc =
            dispatch(ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                     [&]<class T>(std::type_identity<T>) { spread = maskedSpread<T>(src, mask); });
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
