#include "tone/background_kernels.h"

#include "base/conversions.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/background_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "tone/whole_parts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
T Corrected(T sample, T background, double gain, const Correction& correction) noexcept
{
    if (background == 0)
        return correction.keep ? sample : T{0};
    const double quotient = static_cast<double>(sample) / static_cast<double>(background);
    return static_cast<T>(toInt64(std::min(correction.top, quotient * correction.ratio * gain)));
}

#if HWY_TARGET != HWY_SCALAR

/// Samples to leave alone take what is in dst.
template <class T, class To>
VecOf<To> Treated(To to, VecOf<To> result, const std::uint8_t* dst, const std::uint8_t* treated)
{
    const auto marks = LoadAt(hn::Rebind<std::int8_t, To>(), treated);
    VecOf<To> mark;
    if constexpr (sizeof(T) == 1)
        mark = hn::BitCast(to, marks);
    else
        mark = hn::BitCast(to, hn::PromoteTo(hn::RebindToSigned<To>(), marks));
    return hn::IfVecThenElse(mark, result, LoadAt(to, dst));
}

/// About 1 / v: off by less than 2^-20 of itself, or 2^-11 without `Refined`.
template <bool Refined, class V>
V Reciprocal(V v)
{
    const hn::DFromV<V> d;
#if HWY_ARCH_X86
    const auto guess = hn::ApproximateReciprocal(v);
    return Refined ? hn::Mul(guess, hn::NegMulAdd(guess, v, hn::Set(d, 2.0F))) : guess;
#else
    return hn::Div(hn::Set(d, 1.0F), v);
#endif
}

/// The part of a block that is whole vectors, in whole numbers; returns how many samples that is. A product
/// in floats is off by less than a half, so that rounded to the nearest it is the whole part or one more, in
/// which case that many times the background is more than the sample times the gain. Both are computed
/// exactly, for bytes in floats.
template <class T, bool All>
int WholeSamples(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                 const Correction& correction) noexcept
{
    constexpr bool isByte = sizeof(T) == 1;
    constexpr std::int64_t size = sizeof(T), line = 64;
    const hn::ScalableTag<float> d;
    const hn::Rebind<T, decltype(d)> to;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const hn::RebindToUnsigned<decltype(d32)> u32;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    const auto top = hn::Set(d, static_cast<float>(correction.top));
    // 1.5 * 2^23: sums with numbers below 2^16 are rounded to whole numbers, which are then the lower bits.
    const auto rounder = hn::Set(d, 12582912.0F);
    const auto twice = hn::Set(u32, correction.divisor == 2 ? ~0U : 0U);
    const bool keep = correction.keep;
    int i = 0;
    for (; i + lanes <= samples; i += lanes) {
        if (i * size % line == 0) {
            fetchAhead<std::uint8_t, false>(src + i * size, line);
            fetchAhead<std::uint8_t, false>(background + i * size, line);
            fetchAhead<std::uint8_t, true>(dst + i * size, line);
        }
        const auto sample = LoadAt(to, src + i * size), below = LoadAt(to, background + i * size);
        const auto a = hn::PromoteTo(d32, sample), b = hn::PromoteTo(d32, below);
        const auto divisor = hn::ConvertTo(d, b);
        const auto scaled = hn::Mul(hn::ConvertTo(d, a), hn::LoadU(d, correction.scale + i));
        const auto v = hn::Min(hn::Mul(scaled, Reciprocal<!isByte>(divisor)), top);
        const auto rounded = hn::Add(v, rounder);
        const auto bits = hn::BitCast(u32, rounded);
        hn::Mask<decltype(u32)> over;
        if constexpr (isByte) {
            over = hn::RebindMask(u32, hn::Gt(hn::Mul(hn::Sub(rounded, rounder), divisor), scaled));
        } else {
            const auto whole = hn::And(bits, hn::Set(u32, 0x1FFFF)), times = hn::BitCast(u32, b);
            const auto product = hn::Mul(hn::BitCast(u32, a), hn::LoadU(u32, correction.factor + i));
            over = hn::Gt(hn::Mul(whole, hn::Add(times, hn::And(times, twice))), product);
        }
        auto result = hn::TruncateTo(to, hn::Add(bits, hn::VecFromMask(u32, over)));
        const auto without = keep ? sample : hn::Zero(to);
        result = hn::IfThenElse(hn::Eq(below, hn::Zero(to)), without, result);
        if constexpr (!All)
            result = Treated<T>(to, result, dst + i * size, correction.treated + i);
        StoreAt(to, result, dst + i * size);
    }
    return i;
}

/// The part of a block that is whole vectors: writes the results, those that are not certain included, and
/// lists the places of the latter from `end` on. Returns how many samples were done.
///
/// The product in floats is off by less than 2^-22 of itself: three roundings of 2^-24, of the quotient, of
/// the scale and of the product; the roundings of the doubles that define the result are far below that.
/// Hence a result is certain unless a whole number lies within 1.5 * 2^-22 of the highest level.
template <class T, bool All>
int CertainSamples(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                   const Correction& correction, std::int32_t*& end) noexcept
{
    const hn::ScalableTag<float> d;
    const hn::Rebind<T, decltype(d)> to;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    constexpr std::int64_t size = sizeof(T);
    const auto top = static_cast<float>(correction.top);
    const auto limit = hn::Set(d, top + 0.5F), slack = hn::Set(d, (top + 1) * 1.5F / (1 << 22));
    std::int32_t* open = end;
    int i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto sample = LoadAt(to, src + i * size), below = LoadAt(to, background + i * size);
        const auto a = hn::ConvertTo(d, hn::PromoteTo(d32, sample));
        const auto b = hn::ConvertTo(d, hn::PromoteTo(d32, below));
        const auto v = hn::Min(hn::Mul(hn::Div(a, b), hn::LoadU(d, correction.scale + i)), limit);
        auto result = Narrowed(to, d, WholeParts(d, v, slack, i, open));
        const auto without = correction.keep ? sample : hn::Zero(to);
        result = hn::IfThenElse(hn::Eq(below, hn::Zero(to)), without, result);
        if constexpr (!All)
            result = Treated<T>(to, result, dst + i * size, correction.treated + i);
        StoreAt(to, result, dst + i * size);
    }
    end = open;
    return i;
}

#endif

/// The block in doubles, for a top that the samples can hold.
template <class T>
void ExactBlock(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                const Correction& correction) noexcept
{
    const double ratio = correction.ratio, top = correction.top;
    const double* const gain = correction.gain;
    const std::int32_t keep = correction.keep ? -1 : 0;
    KO_INDEPENDENT_ITERATIONS
    for (int i = 0; i < samples; ++i) {
        const std::int32_t sample = loadSample<T>(src, i), below = loadSample<T>(background, i);
        // All bits set over a background of 0, by a shift: comparing with 0 would make the compiler branch.
        const std::int32_t bare = (below - 1) >> 31;
        const double product = static_cast<double>(sample) / (below - bare) * ratio * gain[i];
        const auto result = static_cast<std::int32_t>(product < top ? product : top);
        storeSample(dst, i, static_cast<T>((result & ~bare) | (sample & keep & bare)));
    }
}

/// Sample i of a block, unless it is to be left alone.
template <class T>
void CorrectOne(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int i,
                const Correction& correction) noexcept
{
    if (correction.treated == nullptr || correction.treated[i] != 0)
        storeSample(
            dst, i,
            Corrected(loadSample<T>(src, i), loadSample<T>(background, i), correction.gain[i], correction));
}

/// At most one period.
template <class T>
void Block(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
           const Correction& correction) noexcept
{
    Places<correctionPeriod> places;
    std::int32_t* end = places;
    // The samples as they were: dst may be the memory of either.
    std::uint8_t given[correctionPeriod * sizeof(T)], below[correctionPeriod * sizeof(T)];
    std::memcpy(given, src, samples * sizeof(T));
    std::memcpy(below, background, samples * sizeof(T));
    fetchAhead<T, false>(src, samples);
    fetchAhead<T, false>(background, samples);
    fetchAhead<T, true>(dst, samples);
    int done = 0;
#if HWY_TARGET != HWY_SCALAR
    if (correction.scale != nullptr) {
        done = correction.treated == nullptr
                   ? CertainSamples<T, true>(src, background, dst, samples, correction, end)
                   : CertainSamples<T, false>(src, background, dst, samples, correction, end);
    }
#endif
    while (done < samples)
        *end++ = done++;
    if (correction.scale != nullptr && correction.treated == nullptr && end - places > mostOpen(samples))
        return ExactBlock<T>(given, below, dst, samples, correction);
    for (const std::int32_t* place = places; place != end; ++place)
        CorrectOne<T>(given, below, dst, *place, correction);
}

/// At most one period, for gains that whole numbers serve.
template <class T>
void WholeBlock(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                const Correction& correction) noexcept
{
    int done = 0;
#if HWY_TARGET != HWY_SCALAR
    done = correction.treated == nullptr ? WholeSamples<T, true>(src, background, dst, samples, correction)
                                         : WholeSamples<T, false>(src, background, dst, samples, correction);
#endif
    for (; done < samples; ++done)
        CorrectOne<T>(src, background, dst, done, correction);
}

template <class T>
void RowCorrected(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                  std::int64_t samples, const Correction& correction) noexcept
{
    const auto block = correction.factor != nullptr ? &WholeBlock<T> : &Block<T>;
    for (std::int64_t i = 0; i < samples; i += correctionPeriod) {
        const std::int64_t shift = i * static_cast<std::int64_t>(sizeof(T));
        block(src + shift, background + shift, dst + shift,
              static_cast<int>(std::min<std::int64_t>(correctionPeriod, samples - i)), correction);
    }
}

template <class T>
void ChannelCorrected(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                      std::int64_t pixels, const ChannelSteps& steps, const Correction& correction) noexcept
{
    for (std::int64_t x = 0; x < pixels; ++x) {
        storeSample(dst, x * steps.dst,
                    Corrected(loadSample<T>(src, x * steps.src),
                              loadSample<T>(background, x * steps.background), correction.gain[0],
                              correction));
    }
}

const BackgroundKernels& Kernels()
{
    static constexpr BackgroundKernels kernels{
        {&RowCorrected<std::uint8_t>, &ChannelCorrected<std::uint8_t>},
        {&RowCorrected<std::uint16_t>, &ChannelCorrected<std::uint16_t>},
    };
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
const BackgroundKernels& backgroundKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
