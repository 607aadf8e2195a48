#include "tone/contrast_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <limits>

// Newer processors take bytes from anywhere in two vectors.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/contrast_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/channel_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

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

/// Calls `block` for some samples at a time, with the memory ahead of them on its way.
template <class T, class Block>
void InFetchedBlocks(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const Block& block)
{
    for (std::int64_t first = 0; first < samples; first += samplesPerFetch) {
        const std::int64_t shift = first * std::int64_t{sizeof(T)};
        const std::int64_t count = std::min(samplesPerFetch, samples - first);
        fetchAhead<T, false>(src + shift, count);
        fetchAhead<T, true>(dst + shift, count);
        block(src + shift, dst + shift, count);
    }
}

template <class T, Spread<T> Each>
void SpreadRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
               const ContrastBand& band) noexcept
{
    const ContrastBand own = band;
    InFetchedBlocks<T>(src, dst, samples,
                       [&](const std::uint8_t* from, std::uint8_t* to, std::int64_t count) {
                           KO_INDEPENDENT_ITERATIONS
                           for (std::int64_t i = 0; i < count; ++i)
                               storeSample<T>(to, i, Each(loadSample<T>(from, i), own));
                       });
}

/// In arithmetic of 16 or 32 bits.
template <class Lane>
void QuotientsRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                  const LevelQuotient& quotient) noexcept
{
    const auto low = static_cast<Lane>(quotient.low), width = static_cast<Lane>(quotient.width),
               numerator = static_cast<Lane>(quotient.numerator),
               denominator = static_cast<Lane>(quotient.denominator),
               carry = static_cast<Lane>(quotient.carry), spread = static_cast<Lane>(quotient.spread),
               factor = static_cast<Lane>(quotient.factor);
    InFetchedBlocks<std::uint16_t>(
        src, dst, samples, [&](const std::uint8_t* from, std::uint8_t* to, std::int64_t count) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < count; ++i) {
                const auto above = static_cast<Lane>(loadSample<std::uint16_t>(from, i) - low);
                const Lane distance = above <= width ? above : Lane{0};
                const auto moved =
                    sizeof(Lane) == 2 ? static_cast<Lane>(std::uint32_t{distance} * spread) : distance;
                const auto estimate = static_cast<Lane>(std::uint32_t{moved} * factor >> 16);
                const auto rest = static_cast<Lane>(std::uint32_t{distance} * numerator -
                                                    std::uint32_t{estimate} * denominator);
                storeSample(to, i, static_cast<std::uint16_t>(estimate + Lane{rest >= carry}));
            }
        });
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
    constexpr std::int32_t most = std::numeric_limits<T>::max();
    // Levels above all samples leave an empty band.
    const auto low = static_cast<T>(std::min(band.low, most));
    const auto high = static_cast<T>(band.low > most ? 0 : std::min(band.high, most));
    const std::uint8_t *const a = samples[0], *const b = samples[1], *const c = samples[2];
    std::uint8_t *const p = results[0], *const q = results[1], *const r = results[2];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < pixels; ++i) {
        const T x = loadSample<T>(a, i), y = loadSample<T>(b, i), z = loadSample<T>(c, i);
        const T least = std::min(std::min(x, y), z), greatest = std::max(std::max(x, y), z);
        const T above = least >= low ? static_cast<T>(~T{0}) : T{0};
        const T kept = greatest <= high ? above : T{0};
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
constexpr ContrastRows<T> rows{&SpreadRow<T, &Stretched<T>>,
                               &SpreadRow<T, &Compressed<T>>,
                               &StretchMeanRowOf<T>,
                               &MeanRowOf<T>,
                               &SplitRowOf<T>,
                               &MergeRowOf<T>,
                               &ClearOutsideRowOf<T>,
                               &GatherRowOf<T>,
                               &ScatterRowOf<T>};

const ContrastKernels& Kernels()
{
    static constexpr ContrastKernels kernels{{rows<std::uint8_t>, rows<std::uint16_t>},
                                             &QuotientsRow<std::uint16_t>,
                                             &QuotientsRow<std::uint32_t>};
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
