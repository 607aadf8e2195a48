#include <ko/convert.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "convert/convert_kernels.h"
#include "convert/ramps.h"
#include "convert/ranges.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ko {

namespace {

/// A mask that the search for the range accepts has rows that fit; any other is refused there.
bool maskRowsFit(const SxImageBuf& mask)
{
    return !isMask(mask) || rowsFit(mask);
}

bool isMeasurable(const SxImageInfo& src, const SxImageBuf* mask)
{
    if (mask != nullptr)
        return isMaskOf(*mask, src) && hasKnownPacking(src);
    return isMosaic(src) || hasPlainChannels(src);
}

/// One range per channel; a mono image has one whether it is a mosaic or not. False where there is none.
template <class T>
bool measureChannels(Ranges<T>& ranges, const SxImageBuf& src, const SxImageBuf* mask)
{
    if (!isMeasurable(src, mask))
        return false;
    if (mask != nullptr || !isMosaic(src)) {
        ranges = Ranges<T>(channelExtremes<T>(src, mask));
        return true;
    }
    ranges = Ranges<T>(mosaicExtremes<T>(src, 2, 2));
    ranges.join();
    ranges.low.resize(1);
    ranges.high.resize(1);
    return true;
}

/// As `measureChannels`, and shared as the caller wants it. A mono image without a mosaic has nothing to
/// share, so any kind of normalisation does.
template <class T>
bool measureNormalized(Ranges<T>& ranges, const SxImageBuf& src, const SxImageBuf* mask,
                       NormalizationType normalization)
{
    const bool single = isMono(src) && !isMosaic(src);
    return measureChannels(ranges, src, mask) && (single || ranges.normalize(normalization));
}

/// `body(first, count)` for every run of mask bytes that are not 0.
template <class Body>
void forEachSelectedRun(const std::uint8_t* mask, std::int64_t width, const Body& body) noexcept
{
    for (std::int64_t x = 0; x < width; ++x) {
        if (mask[x] == 0)
            continue;
        const void* const zero = std::memchr(mask + x, 0, static_cast<std::size_t>(width - x));
        const std::int64_t end = zero != nullptr ? static_cast<const std::uint8_t*>(zero) - mask : width;
        body(x, end - x);
        x = end;
    }
}

/// What becomes of every selected pixel.
template <class Low, class Scale>
struct Conversion {
    WrappedRow<Ramp<Low, Scale>> row;
    const Ranges<Low>& ranges;
    const std::vector<Scale>& scales;
    int treated;  ///< channels from the first that are converted; the others stay as they are
};

/// The selected pixels of one row of `channels` samples per pixel.
template <class Low, class Scale>
class PixelRow {
public:
    PixelRow(const Conversion<Low, Scale>& conversion, const Ramp<Low, Scale>& ramp, const SxImageBuf& src,
             const SxImageBuf& dst, int channels)
        : m_row(conversion.row),
          m_ramp(ramp),
          m_srcStep(std::int64_t{channels} * bytesPerSample(src.dataType)),
          m_dstStep(std::int64_t{channels} * bytesPerSample(dst.dataType)),
          m_channels(channels),
          m_treated(std::min(channels, conversion.treated))
    {
    }

    void convert(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* mask,
                 std::int64_t width) const noexcept
    {
        if (mask == nullptr)
            convertRun(src, dst, 0, width);
        else
            forEachSelectedRun(mask, width, [&](std::int64_t first, std::int64_t count) {
                convertRun(src, dst, first, count);
            });
    }

private:
    void convertRun(const std::uint8_t* src, std::uint8_t* dst, std::int64_t first,
                    std::int64_t count) const noexcept
    {
        if (m_treated == m_channels) {
            m_row(src + first * m_srcStep, dst + first * m_dstStep, count * m_channels, m_ramp);
            return;
        }
        for (std::int64_t x = first; x < first + count; ++x)
            m_row(src + x * m_srcStep, dst + x * m_dstStep, m_treated, m_ramp);
    }

    WrappedRow<Ramp<Low, Scale>> m_row;
    Ramp<Low, Scale> m_ramp;
    std::int64_t m_srcStep;
    std::int64_t m_dstStep;
    int m_channels;
    int m_treated;
};

/// Converts the pixels that the mask (null: none) selects; `loop` runs the rows.
template <class Low, class Scale, class Loop>
void convertSelected(const SxImageBuf& src, SxImageBuf& dst, const SxImageBuf* mask,
                     const Conversion<Low, Scale>& conversion, const Loop& loop)
{
    if (!hasPixels(src))
        return;
    const bool planes = isMono(src) || isPlanar(src);
    const int channels = planes ? 1 : src.channels;
    for (int p = 0; p < (planes ? std::min(src.channels, conversion.treated) : 1); ++p) {
        const RampValues<Low, Scale> values(&conversion.ranges.low[static_cast<std::size_t>(p)],
                                            &conversion.scales[static_cast<std::size_t>(p)],
                                            static_cast<std::size_t>(channels));
        const PixelRow<Low, Scale> pixels(conversion, values.ramp(), src, dst, channels);
        loop(mappingWork(src, dst), [&](std::int64_t y) noexcept {
            pixels.convert(planeRowOf(src, p, y), planeRowOf(dst, p, y),
                           mask != nullptr ? rowOf(*mask, y) : nullptr, src.width);
        });
    }
}

constexpr auto staticLoop = [](const RowWork& work, const auto& body) { rowsStatic(work, body); };
constexpr auto dynamicLoop = [](const RowWork& work, const auto& body) { rowsDynamic(work, body); };

/// ConvertFloatToU8 after its checks; `immeasurable` is the answer where there is no range to normalise. The
/// range is mapped to 0...255 in single precision, whatever the depth.
ResultCode convertForDisplay(const SxImageBuf& src, const SxImageBuf* mask, SxImageBuf& dst,
                             NormalizationType normalization, ResultCode immeasurable, float* min, float* max)
{
    Ranges<float> ranges;
    if (!measureChannels(ranges, src, mask) || !ranges.normalize(normalization))
        return immeasurable;
    std::vector<float> scales(ranges.count());
    for (std::size_t i = 0; i < scales.size(); ++i)
        scales[i] = 255.0F / (ranges.high[i] - ranges.low[i]);
    const bool reversed = isInterleaved(src) && src.channels == 3;
    const auto row = reversed ? convertKernels().displayReversed : convertKernels().display;
    convertSelected<float, float>(src, dst, mask, {row, ranges, scales, src.channels}, staticLoop);
    ranges.report(min, max);
    return ResultOk;
}

template <class Dst>
ResultCode convertDoubleMasked(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                               NormalizationType normalization, double* min, double* max)
{
    Ranges<double> ranges;
    if (!measureNormalized(ranges, src, &mask, normalization))
        return ResultFailed;
    const double top = std::ldexp(1.0, dst.bitsPerSample) - 1;
    std::vector<double> scales(ranges.count());
    for (std::size_t i = 0; i < scales.size(); ++i)
        scales[i] = top / (ranges.high[i] - ranges.low[i]);
    const auto row = convertKernels().wrapped.of<Dst>().f64;
    constexpr int colors = 3;
    convertSelected<double, double>(src, dst, &mask, {row, ranges, scales, colors}, staticLoop);
    ranges.report(min, max);
    return ResultOk;
}

/// a - b modulo 2^32, read as signed.
std::int32_t wrappedDifference(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

template <class Dst>
ResultCode convertIntegers(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization, int* min,
                           int* max)
{
    Ranges<std::int32_t> ranges;
    if (!measureNormalized(ranges, src, nullptr, normalization))
        return ResultFailed;
    const double top = std::ldexp(1.0, dst.bitsPerSample) - 1;
    std::vector<double> scales(ranges.count());
    for (std::size_t i = 0; i < scales.size(); ++i) {
        // The only value of an empty range becomes 0, as the low bits of 0 * infinity are.
        const std::int32_t range = wrappedDifference(ranges.high[i], ranges.low[i]);
        scales[i] = range != 0 ? top / range : 0;
    }
    const auto row = convertKernels().integers.of<Dst>();
    convertSelected<std::int32_t, double>(src, dst, nullptr, {row, ranges, scales, src.channels},
                                          dynamicLoop);
    ranges.report(min, max);
    return ResultOk;
}

}  // namespace

ResultCode ConvertFloatToU8(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization,
                            float* min, float* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, Float32)},
                {ResultBadArg2, isPresent(dst) && hasType(dst, UInt8) && sameGeometry(dst, src)},
                {ResultBadArg3, isNormalization(normalization)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(dst)},
            }))
            return rc;
        return convertForDisplay(src, nullptr, dst, normalization, ResultBadArg3, min, max);
    });
}

ResultCode ConvertFloatToU8(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                            NormalizationType normalization, float* min, float* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, Float32)},
                {ResultBadArg2, isPresent(mask) && hasType(mask, UInt8) && sameSize(mask, src)},
                {ResultBadArg3, isPresent(dst) && hasType(dst, UInt8) && sameGeometry(dst, src)},
                {ResultBadArg4, isNormalization(normalization)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, maskRowsFit(mask)},
                {ResultBadArg3, rowsFit(dst)},
            }))
            return rc;
        return convertForDisplay(src, &mask, dst, normalization, ResultBadArg4, min, max);
    });
}

ResultCode ConvertDoubleToUMasked(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                                  NormalizationType normalization, double* min, double* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, Float64)},
                {ResultBadArg2, isPresent(mask) && sameSize(mask, src)},
                {ResultBadArg2, !isInterleaved(src) || isMono(mask)},
                {ResultBadArg2, !isPlanar(src) || mask.channels <= 1 || isPlanar(mask)},
                {ResultBadArg3, isPresent(dst) && hasType(dst, Int8, UInt8, Int16, UInt16)},
                {ResultBadArg3, sameGeometry(dst, src)},
            }))
            return rc;
        return dispatch(BySizeOf<Int8, UInt8, Int16, UInt16>{}, dst.dataType,
                        {{ResultBadArg1, rowsFit(src)},
                         {ResultBadArg2, maskRowsFit(mask)},
                         {ResultBadArg3, rowsFit(dst)}},
                        [&]<class Dst>(std::type_identity<Dst>) {
                            return convertDoubleMasked<Dst>(src, mask, dst, normalization, min, max);
                        });
    });
}

ResultCode ConvertI32ToU(const SxImageBuf& src, SxImageBuf& dst, NormalizationType normalization, int* min,
                         int* max)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, Int32)},
                {ResultBadArg2, isPresent(dst) && bytesPerSample(dst.dataType) != 0},
                {ResultBadArg2, sameGeometry(dst, src)},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, dst.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class Dst>(std::type_identity<Dst>) {
                            return convertIntegers<Dst>(src, dst, normalization, min, max);
                        });
    });
}

}  // namespace ko
