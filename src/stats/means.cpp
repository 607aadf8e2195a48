#include <ko/stats/means.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "stats/sum_kernels.h"

#include <algorithm>
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

}  // namespace ko
