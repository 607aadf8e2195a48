#include "tone/contrast_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/contrast_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "tone/whole_parts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Distance of a sample from a level, wrapped to 32 bits.
template <class T>
double Distance(T sample, std::int32_t level) noexcept
{
    return static_cast<std::int32_t>(std::uint32_t{sample} - static_cast<std::uint32_t>(level));
}

/// The low bits of a number in 0...limit - 1; 0 for all others, NaN included.
template <class T>
T Below(double number, double limit) noexcept
{
    const double kept = number >= 0.0 && number < limit ? number : 0.0;
    return static_cast<T>(static_cast<std::int32_t>(kept));
}

template <class T>
T Stretched(T sample, const ContrastBand& band) noexcept
{
    return Below<T>(Distance(sample, band.low) * band.scale, band.limit);
}

template <class T>
T Compressed(T sample, const ContrastBand& band) noexcept
{
    const T compressed = Below<T>(Distance(sample, band.low) / band.scale, band.limit);
    return sample >= band.low && sample <= band.high ? compressed : T{0};
}

/// What a row kernel makes of one sample.
template <class T>
using Spread = T (*)(T sample, const ContrastBand& band) noexcept;

template <class T, Spread<T> Each>
void ExactBlock(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const ContrastBand& band) noexcept
{
    const ContrastBand own = band;
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(dst, i, Each(loadSample<T>(src, i), own));
}

template <class T>
void StretchRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                  const ContrastBand& band) noexcept
{
    for (std::int64_t first = 0; first < samples; first += samplesPerFetch) {
        const std::uint8_t* const from = src + first * std::int64_t{sizeof(T)};
        std::uint8_t* const to = dst + first * std::int64_t{sizeof(T)};
        const std::int64_t count = std::min(samplesPerFetch, samples - first);
        fetchAhead<T, false>(from, count);
        fetchAhead<T, true>(to, count);
        ExactBlock<T, &Stretched<T>>(from, to, count, band);
    }
}

void CompressBytesRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                      const ContrastBand& band) noexcept
{
    ExactBlock<std::uint8_t, &Compressed<std::uint8_t>>(src, dst, samples, band);
}

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

/// Results fit the mantissa of a float, and the factor leaves every product in the range of its relative
/// error. Samples between the levels have distances that fit, too.
bool FloatsServe(const ContrastBand& band, double factor) noexcept
{
    return band.low >= 0 && band.high <= 65535 && band.limit >= 1 && band.limit <= 65536 &&
           factor >= std::ldexp(1.0, -40) && factor <= std::ldexp(1.0, 40);
}

/// At most `samplesPerFetch` words, multiplied instead of divided; false after a block with many samples that
/// had to be divided. A float product is off by less than 2^-22 of itself, by the roundings of the factor and
/// of the product.
bool CompressBlock(const std::uint8_t* src, std::uint8_t* dst, int samples, const ContrastBand& band,
                   float factor) noexcept
{
    const hn::ScalableTag<float> d;
    const hn::Rebind<std::uint16_t, decltype(d)> to;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    const auto limit = static_cast<float>(band.limit);
    const auto slack = hn::Set(d, (limit + 1) / (1 << 22));
    const auto low = hn::Set(d32, band.low);
    const auto below = hn::Set(d32, band.low - 1), above = hn::Set(d32, band.high + 1);
    Places<samplesPerFetch> places;
    std::int32_t* end = places;
    // The samples as they were: dst may be their memory.
    std::uint8_t given[2 * samplesPerFetch];
    std::memcpy(given, src, 2 * static_cast<std::size_t>(samples));
    int i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto sample = hn::PromoteTo(d32, LoadAt(to, src + 2 * i));
        const auto inside = hn::And(hn::Gt(sample, below), hn::Lt(sample, above));
        const auto distance = hn::ConvertTo(d, hn::IfThenElseZero(inside, hn::Sub(sample, low)));
        const auto product = hn::Mul(distance, hn::Set(d, factor));
        const auto whole = WholeParts<true>(d, product, slack, i, end);
        StoreAt(to, Narrowed(to, d, whole), dst + 2 * i);
    }
    while (i < samples)
        *end++ = i++;
    if (end - places > mostOpen(samples)) {
        ExactBlock<std::uint16_t, &Compressed<std::uint16_t>>(given, dst, samples, band);
        return false;
    }
    for (const std::int32_t* place = places; place != end; ++place)
        storeSample(dst, *place, Compressed(loadSample<std::uint16_t>(given, *place), band));
    return true;
}

#endif

void CompressWordsRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                      const ContrastBand& band) noexcept
{
    std::int64_t done = 0;
#if HWY_TARGET != HWY_SCALAR
    const double factor = 1 / band.scale;
    for (bool serves = FloatsServe(band, factor); serves && done < samples;) {
        const std::int64_t count = std::min(samplesPerFetch, samples - done);
        fetchAhead<std::uint16_t, false>(src + 2 * done, count);
        fetchAhead<std::uint16_t, true>(dst + 2 * done, count);
        serves = CompressBlock(src + 2 * done, dst + 2 * done, static_cast<int>(count), band,
                               static_cast<float>(factor));
        done += count;
    }
#endif
    ExactBlock<std::uint16_t, &Compressed<std::uint16_t>>(src + 2 * done, dst + 2 * done, samples - done,
                                                          band);
}

template <class T>
void StretchMeanRowOf(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
                      std::int64_t samples, const ContrastBand& band) noexcept
{
    const double low = band.low, scale = band.scale, limit = band.limit;
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::int32_t sum = loadSample<T>(first, i) + loadSample<T>(second, i);
        storeSample<T>(dst, i, Below<T>((sum * 0.5 - low) * scale, limit));
    }
}

template <class T>
void MeanRowOf(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
               std::int64_t samples) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::int32_t sum = loadSample<T>(first, i) + loadSample<T>(second, i);
        storeSample<T>(dst, i, static_cast<T>(sum >> 1));
    }
}

template <class T>
void ClearOutsideRowOf(const std::uint8_t* const* samples, std::uint8_t* const* results, std::int64_t pixels,
                       const ContrastBand& band) noexcept
{
    const std::int32_t low = band.low, high = band.high;
    const std::uint8_t *const a = samples[0], *const b = samples[1], *const c = samples[2];
    std::uint8_t *const p = results[0], *const q = results[1], *const r = results[2];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < pixels; ++i) {
        const std::int32_t x = loadSample<T>(a, i), y = loadSample<T>(b, i), z = loadSample<T>(c, i);
        const bool inside = std::min({x, y, z}) >= low && std::max({x, y, z}) <= high;
        const T kept = inside ? static_cast<T>(~T{0}) : T{0};
        storeSample<T>(p, i, loadSample<T>(p, i) & kept);
        storeSample<T>(q, i, loadSample<T>(q, i) & kept);
        storeSample<T>(r, i, loadSample<T>(r, i) & kept);
    }
}

template <class T>
void SplitRowOf(const std::uint8_t* src, std::int64_t pixels, std::uint8_t* const* channels) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    for (const auto lanes = static_cast<std::int64_t>(hn::Lanes(d)); x + lanes <= pixels; x += lanes) {
        auto a = hn::Zero(d), b = a, c = a;
        hn::LoadInterleaved3(d, reinterpret_cast<const T*>(src) + 3 * x, a, b, c);
        hn::StoreU(a, d, reinterpret_cast<T*>(channels[0]) + x);
        hn::StoreU(b, d, reinterpret_cast<T*>(channels[1]) + x);
        hn::StoreU(c, d, reinterpret_cast<T*>(channels[2]) + x);
    }
#endif
    for (; x < pixels; ++x)
        for (int k = 0; k < 3; ++k)
            storeSample(channels[k], x, loadSample<T>(src, 3 * x + k));
}

template <class T>
void MergeRowOf(const std::uint8_t* const* channels, std::int64_t pixels, std::uint8_t* dst) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    for (const auto lanes = static_cast<std::int64_t>(hn::Lanes(d)); x + lanes <= pixels; x += lanes) {
        hn::StoreInterleaved3(hn::LoadU(d, reinterpret_cast<const T*>(channels[0]) + x),
                              hn::LoadU(d, reinterpret_cast<const T*>(channels[1]) + x),
                              hn::LoadU(d, reinterpret_cast<const T*>(channels[2]) + x), d,
                              reinterpret_cast<T*>(dst) + 3 * x);
    }
#endif
    for (; x < pixels; ++x)
        for (int k = 0; k < 3; ++k)
            storeSample(dst, 3 * x + k, loadSample<T>(channels[k], x));
}

template <class T>
constexpr ContrastRows<T> RowsWith(decltype(ContrastRows<T>::compress) compress)
{
    return {&StretchRowOf<T>, compress,       &StretchMeanRowOf<T>, &MeanRowOf<T>,
            &SplitRowOf<T>,   &MergeRowOf<T>, &ClearOutsideRowOf<T>};
}

const ContrastKernels& Kernels()
{
    static constexpr ContrastKernels kernels{RowsWith<std::uint8_t>(&CompressBytesRow),
                                             RowsWith<std::uint16_t>(&CompressWordsRow)};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const ContrastKernels& contrastKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
