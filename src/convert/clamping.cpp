#include <ko/convert.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/conversions.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "convert/convert_kernels.h"
#include "convert/ramps.h"
#include "convert/ranges.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace ko {

namespace {

using UnsignedTypes = ByTypeOf<UInt8, UInt16, UInt32>;

/// The highest value of the destination's depth, cut to its container.
template <class Dst>
double truncatedTop(const SxImageInfo& dst)
{
    return static_cast<Dst>(toInt64(std::ldexp(1.0, dst.bitsPerSample) - 1));
}

/// One plane after another, each with its own range; of one whose range is a single value, the whole memory
/// is cleared.
template <class Low>
void convertPlanes(const SxImageBuf& src, SxImageBuf& dst, ClampedRow<Ramp<Low, Low>> row,
                   const Ranges<Low>& ranges, const std::vector<Low>& scales, double top)
{
    for (std::size_t p = 0; p < ranges.count(); ++p) {
        const SxImageBuf from = planeView(src, static_cast<int>(p));
        SxImageBuf to = planeView(dst, static_cast<int>(p));
        if (ranges.low[p] == ranges.high[p]) {
            std::memset(to.data, 0, imageByteSize(to));
            continue;
        }
        const RampValues<Low, Low> values(&ranges.low[p], &scales[p], 1);
        const Ramp<Low, Low> ramp = values.ramp();
        rowsStatic(mappingWork(from, to),
                   [&](std::int64_t y) noexcept { row(rowOf(from, y), rowOf(to, y), src.width, ramp, top); });
    }
}

/// Interleaved pixels. A channel whose range is a single value becomes 0: its scale is infinite, and infinity
/// times 0 is NaN.
template <class Low>
void convertPixels(const SxImageBuf& src, SxImageBuf& dst, ClampedRow<Ramp<Low, Low>> row,
                   const Ranges<Low>& ranges, const std::vector<Low>& scales, double top)
{
    const RampValues<Low, Low> values(ranges.low.data(), scales.data(), ranges.count());
    const Ramp<Low, Low> ramp = values.ramp();
    const std::int64_t samples = std::int64_t{src.width} * src.channels;
    rowsStatic(mappingWork(src, dst),
               [&](std::int64_t y) noexcept { row(rowOf(src, y), rowOf(dst, y), samples, ramp, top); });
}

template <class Low>
void convertChannels(const SxImageBuf& src, SxImageBuf& dst, ClampedRow<Ramp<Low, Low>> row,
                     const Ranges<Low>& ranges, const std::vector<Low>& scales, double top)
{
    if (isMono(src) || isPlanar(src))
        convertPlanes(src, dst, row, ranges, scales, top);
    else
        convertPixels(src, dst, row, ranges, scales, top);
}

/// A mosaic, whose rows take turns with the two rows of the cell. There is no clamp here: what lies outside
/// the range wraps, on purpose.
void convertMosaic(const SxImageBuf& src, SxImageBuf& dst, WrappedRow<DoubleRamp> row,
                   const Ranges<double>& ranges, const std::vector<double>& scales)
{
    const RampValues<double, double> even(&ranges.low[0], &scales[0], 2), odd(&ranges.low[2], &scales[2], 2);
    const DoubleRamp ramps[2] = {even.ramp(), odd.ramp()};
    rowsStatic(mappingWork(src, dst),
               [&](std::int64_t y) noexcept { row(rowOf(src, y), rowOf(dst, y), src.width, ramps[y % 2]); });
}

/// Infinite where the range is a single value.
std::vector<double> scalesOf(const Ranges<double>& ranges, double top)
{
    std::vector<double> scales(ranges.count());
    for (std::size_t i = 0; i < scales.size(); ++i) {
        scales[i] = ranges.low[i] == ranges.high[i] ? std::numeric_limits<double>::infinity()
                                                    : top / (ranges.high[i] - ranges.low[i]);
    }
    return scales;
}

/// ConvertDoubleToU and ConvertFloatToU after their checks.
template <class Src, class Dst>
ResultCode convertMeasured(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization, Src* min,
                           Src* max, bool zeroBased)
{
    const bool mosaic = isMosaic(src);
    if (mosaic ? !isCellSide(2, src.width) || !isCellSide(2, src.height) : !hasPlainChannels(src))
        return ResultFailed;
    Ranges<double> ranges(mosaic ? mosaicExtremes<Src>(src, 2, 2) : channelExtremes<Src>(src, nullptr));
    const bool single = isMono(src) && !mosaic;
    if (!single && !ranges.normalize(normalization))
        return ResultFailed;
    if (zeroBased)
        std::fill(ranges.low.begin(), ranges.low.end(), 0.0);
    if (hasPixels(src)) {
        const double top = truncatedTop<Dst>(dst);
        const std::vector<double> scales = scalesOf(ranges, top);
        const ClampedRows& clamped = convertKernels().clamped.of<Dst>();
        const WrappedRows& wrapped = convertKernels().wrapped.of<Dst>();
        constexpr bool isDouble = std::is_same_v<Src, double>;
        if (mosaic)
            convertMosaic(src, dst, isDouble ? wrapped.f64 : wrapped.f32, ranges, scales);
        else
            convertChannels(src, dst, isDouble ? clamped.f64 : clamped.f32, ranges, scales, top);
    }
    ranges.report(min, max);
    return ResultOk;
}

template <class Src>
ResultCode convertToU(ExImageDataType sourceType, const SxImageBuf& src, SxImageBuf& dst,
                      NormalizationType normalization, Src* min, Src* max, bool zeroBased)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, sourceType)},
                {ResultBadArg2, isPresent(dst) && sameGeometry(dst, src)},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(UnsignedTypes{}, dst.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class Dst>(std::type_identity<Dst>) {
                            return convertMeasured<Src, Dst>(src, dst, normalization, min, max, zeroBased);
                        });
    });
}

/// An image that a range can be given for.
bool isScalable(const SxImageBuf& image)
{
    return isPresent(image) && hasPixels(image) && image.bitsPerSample >= 1 && image.dataType != 0;
}

/// The given range for every channel, computed in the type of `Low`.
template <class Low, class Dst>
void scaleGiven(const SxImageBuf& src, SxImageBuf& dst, ClampedRow<Ramp<Low, Low>> row, double min,
                double max)
{
    const auto steps = static_cast<std::uint32_t>(toInt64(std::ldexp(1.0, dst.bitsPerSample)));
    const double scale = max == min ? 0 : steps / (max - min);
    const auto channels = static_cast<std::size_t>(src.channels);
    Ranges<Low> ranges;
    ranges.low.assign(channels, static_cast<Low>(min));
    ranges.high.assign(channels, static_cast<Low>(max));
    convertChannels<Low>(src, dst, row, ranges, std::vector<Low>(channels, static_cast<Low>(scale)),
                         truncatedTop<Dst>(dst));
}

}  // namespace

ResultCode ConvertDoubleToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                            double* min, double* max, bool zeroBased)
{
    return convertToU(Float64, src, dst, normalization, min, max, zeroBased);
}

ResultCode ConvertFloatToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                           float* min, float* max, bool zeroBased)
{
    return convertToU(Float32, src, dst, normalization, min, max, zeroBased);
}

ResultCode ScaleDoubleFloatToU(const SxImageBuf& src, SxImageBuf& dst, double min, double max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isScalable(src) && hasType(src, Float32, Float64)},
                {ResultBadArg2, isScalable(dst) && hasType(dst, UInt8, UInt16, UInt32)},
                {ResultBadArg2, sameGeometry(dst, src)},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(UnsignedTypes{}, dst.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class Dst>(std::type_identity<Dst>) {
                            const ClampedRows& rows = convertKernels().clamped.of<Dst>();
                            if (hasType(src, Float32))
                                scaleGiven<float, Dst>(src, dst, rows.single, min, max);
                            else
                                scaleGiven<double, Dst>(src, dst, rows.f64, min, max);
                        });
    });
}

}  // namespace ko
