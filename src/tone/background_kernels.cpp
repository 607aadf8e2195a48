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

/// Processors that multiply and add with one rounding tell exact products from their floats.
constexpr bool hasFusedMultiply = HWY_NATIVE_FMA != 0;

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

/// The whole part of product / divisor, where the product is `given` * `scale`, rounded, and `quotient` is off by
/// less than `slack`. It is the whole part of the larger quotient or one less, by the sign of the remainder.
/// Products are multiples of 1/2 below 2^32 and the remainder of the rounded one is below 2^18, so floats hold
/// that remainder, what the product lost in rounding, and the sum of both exactly.
template <class D>
VecOf<D> ExactWhole(D d, VecOf<D> given, VecOf<D> scale, VecOf<D> product, VecOf<D> divisor,
                    VecOf<D> quotient, VecOf<D> slack)
{
    const auto most = hn::Trunc(hn::Add(quotient, slack));
    const auto lost = hn::MulSub(given, scale, product);
    const auto rest = hn::Add(hn::NegMulAdd(most, divisor, product), lost);
    return hn::IfThenElse(hn::Lt(rest, hn::Zero(d)), hn::Sub(most, hn::Set(d, 1.0F)), most);
}

/// About 1 / v: off by less than 2^-14 of itself on processors that have such a guess, else by less than 2^-20.
template <bool Refined, class D>
VecOf<D> Inverse(D d, VecOf<D> v)
{
#if HWY_ARCH_X86
    const auto guess = hn::ApproximateReciprocal(v);
    constexpr bool isClose = HWY_TARGET <= HWY_AVX3;
    return isClose && !Refined ? guess : hn::Mul(guess, hn::NegMulAdd(guess, v, hn::Set(d, 2.0F)));
#else
    return hn::Div(hn::Set(d, 1.0F), v);
#endif
}

/// The whole parts of product / divisor for bytes, in the low bits from bit `byteShift` on.
///
/// The sum with 2^13 has 10 bits behind the point. Its quotient is off by less than 2^-13, and rounding moves it
/// by up to 2^-11. So 2^-10 more never lets a whole number fall short, and never takes another one across: that
/// lies 1 / 510 or more below the next whole number.
constexpr int byteShift = 10;
template <class D>
VecOf<D> ByteSum(D d, VecOf<D> product, VecOf<D> divisor, float top)
{
    const auto sum = hn::MulAdd(product, Inverse<true>(d, divisor), hn::Set(d, 8192 + 1.0F / 1024));
    return hn::Min(sum, hn::Set(d, 8192 + top + 0.5F));
}

/// The part of a block that is whole vectors; returns how many samples that is. Without `Exact` it writes the
/// results that are not certain too, and lists their places from `end` on.
///
/// The quotient in floats is off by less than 2^-22 of itself: three roundings of 2^-24, of the scale, of the
/// product and of the quotient; the roundings of the doubles that define the result are far below that.
/// Hence a result is certain unless a whole number lies within 1.5 * 2^-22 of the highest level.
template <class T, bool All, bool Exact>
int FloatSamples(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                 const Correction& correction, std::int32_t*& end) noexcept
{
    const hn::ScalableTag<float> d;
    const hn::Rebind<T, decltype(d)> to;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d));
    constexpr std::int64_t size = sizeof(T);
    const auto top = static_cast<float>(correction.top);
    const auto limit = hn::Set(d, top + 0.5F), slack = hn::Set(d, (top + 1) * 1.5F / (1 << 22));
    const bool keep = correction.keep;
    std::int32_t* open = end;
    int i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto sample = LoadAt(to, src + i * size), below = LoadAt(to, background + i * size);
        const auto a = hn::ConvertTo(d, hn::PromoteTo(d32, sample));
        const auto b = hn::ConvertTo(d, hn::PromoteTo(d32, below));
        const auto scale = hn::LoadU(d, correction.scale + i);
        const auto product = hn::Mul(a, scale);
        VecOf<decltype(to)> result;
        if constexpr (Exact && sizeof(T) == 1) {
            const auto sum = hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), ByteSum(d, product, b, top));
            result = hn::TruncateTo(to, hn::ShiftRight<byteShift>(sum));
        } else {
            const auto v = hn::Min(hn::Div(product, b), limit);
            if constexpr (Exact)
                result = Narrowed(to, d, ExactWhole(d, a, scale, product, b, v, slack));
            else
                result = Narrowed(to, d, WholeParts(d, v, slack, i, open));
        }
        const auto without = keep ? sample : hn::Zero(to);
        result = hn::IfThenElse(hn::Eq(below, hn::Zero(to)), without, result);
        if constexpr (!All)
            result = Treated<T>(to, result, dst + i * size, correction.treated + i);
        StoreAt(to, result, dst + i * size);
    }
    end = open;
    return i;
}

/// Sums with numbers below 2^16 are rounded to whole numbers, which are then the lower bits.
constexpr float wholeRounder = 12582912;  // 1.5 * 2^23

/// Every second word, each in a lane of 32 bits: their whole parts in the low bits, where floats hold the products
/// and the top is at most 4096. A quotient is off by less than 1/4, so that rounded to the nearest it is the
/// whole part or one more, in which case the remainder is below 0. `limit` is the top, rounder added.
template <class D, class Words = VecOf<hn::RebindToUnsigned<D>>>
Words ShortWholes(D d, Words sample, Words below, VecOf<D> scale, VecOf<D> limit)
{
    const hn::RebindToSigned<D> d32;
    const hn::RebindToUnsigned<D> u32;
    const auto rounder = hn::Set(d, wholeRounder);
    const auto divisor = hn::ConvertTo(d, hn::BitCast(d32, below));
    const auto product = hn::Mul(hn::ConvertTo(d, hn::BitCast(d32, sample)), scale);
    const auto rounded = hn::Min(hn::MulAdd(product, Inverse<false>(d, divisor), rounder), limit);
    const auto rest = hn::NegMulAdd(hn::Sub(rounded, rounder), divisor, product);
    const auto over = hn::BitCast(u32, hn::ShiftRight<31>(hn::BitCast(d32, rest)));  // -1 or 0
    return hn::Add(hn::BitCast(u32, rounded), over);
}

/// Asks for what is read 2048 bytes later, whatever a trial of copying says. The instructions for a line of results
/// are too many for the processor to come across enough reads by itself, and hide what asking costs.
void FetchLine(const std::uint8_t* at)
{
    fetchLines<false>(reinterpret_cast<std::uintptr_t>(at) + 2048, 64);
}

/// Words that all have one gain, two in each lane; returns how many that is, 0 where one is too high.
int ShortWords(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
               const Correction& correction) noexcept
{
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> u32;
    const hn::Repartition<std::uint16_t, decltype(d)> to;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(to));
    if (correction.highestShort < 0)
        return 0;
    const auto highestShort =
        hn::Set(to, static_cast<std::uint16_t>(std::min(correction.highestShort, 0xFFFF)));
    auto highest = highestShort;
    for (int i = 0; i + lanes <= samples; i += lanes)
        highest = hn::Max(highest, LoadAt(to, src + 2 * i));
    if (!hn::AllTrue(to, hn::Eq(highest, highestShort)))
        return 0;
    const auto scale = hn::Set(d, correction.scale[0]);
    const auto limit = hn::Set(d, static_cast<float>(correction.top) + wholeRounder);
    const auto lower = hn::Set(u32, 0xFFFF);
    const bool keep = correction.keep;
    int i = 0;
    for (; i + lanes <= samples; i += lanes) {
        FetchLine(src + 2 * i);
        FetchLine(background + 2 * i);
        const auto sample = LoadAt(to, src + 2 * i), below = LoadAt(to, background + 2 * i);
        const auto a = hn::BitCast(u32, sample), b = hn::BitCast(u32, below);
        const auto even = ShortWholes(d, hn::And(a, lower), hn::And(b, lower), scale, limit);
        const auto odd = ShortWholes(d, hn::ShiftRight<16>(a), hn::ShiftRight<16>(b), scale, limit);
        const auto result = hn::OddEven(hn::BitCast(to, hn::ShiftLeft<16>(odd)), hn::BitCast(to, even));
        const auto without = keep ? sample : hn::Zero(to);
        StoreAt(to, hn::IfThenElse(hn::Eq(below, hn::Zero(to)), without, result), dst + 2 * i);
    }
    return i;
}

/// The same for blocks with samples to leave alone and without.
template <class T, bool Exact>
int FloatBlock(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
               const Correction& correction, std::int32_t*& end) noexcept
{
    return correction.treated == nullptr
               ? FloatSamples<T, true, Exact>(src, background, dst, samples, correction, end)
               : FloatSamples<T, false, Exact>(src, background, dst, samples, correction, end);
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

/// Samples as they are before dst is written, which may be their memory: then a copy of them.
const std::uint8_t* Unchanged(const std::uint8_t* samples, const std::uint8_t* dst, std::size_t bytes,
                              std::uint8_t* copy) noexcept
{
    const auto first = reinterpret_cast<std::uintptr_t>(samples),
               written = reinterpret_cast<std::uintptr_t>(dst);
    if (first - written >= bytes && written - first >= bytes)
        return samples;
    std::memcpy(copy, samples, bytes);
    return copy;
}

/// At most one period.
template <class T>
void Block(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
           const Correction& correction) noexcept
{
    Places<correctionPeriod> places;
    std::int32_t* end = places;
    std::uint8_t srcCopy[correctionPeriod * sizeof(T)], backgroundCopy[correctionPeriod * sizeof(T)];
    const std::uint8_t* const given = Unchanged(src, dst, samples * sizeof(T), srcCopy);
    const std::uint8_t* const below = Unchanged(background, dst, samples * sizeof(T), backgroundCopy);
    int done = 0;
#if HWY_TARGET != HWY_SCALAR
    if (correction.scale != nullptr)
        done = FloatBlock<T, false>(src, background, dst, samples, correction, end);
#endif
    while (done < samples)
        *end++ = done++;
    if (correction.scale != nullptr && correction.treated == nullptr && end - places > mostOpen(samples))
        return ExactBlock<T>(given, below, dst, samples, correction);
    for (const std::int32_t* place = places; place != end; ++place)
        CorrectOne<T>(given, below, dst, *place, correction);
}

/// At most one period, for gains whose exact products tell the results.
template <class T>
void ExactlyBlock(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst, int samples,
                  const Correction& correction) noexcept
{
    int done = 0;
#if HWY_TARGET != HWY_SCALAR
    std::int32_t* none = nullptr;
    if constexpr (sizeof(T) == 2)
        done = ShortWords(src, background, dst, samples, correction);
    if (done == 0)
        done = FloatBlock<T, true>(src, background, dst, samples, correction, none);
#endif
    for (; done < samples; ++done)
        CorrectOne<T>(src, background, dst, done, correction);
}

template <class T>
void RowCorrected(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                  std::int64_t samples, const Correction& correction) noexcept
{
    const bool isExact = correction.isExact && (sizeof(T) == 1 || hasFusedMultiply);
    const auto block = isExact ? &ExactlyBlock<T> : &Block<T>;
    const bool asksItself = sizeof(T) == 2 && isExact && correction.highestShort >= 0;
    for (std::int64_t i = 0; i < samples; i += correctionPeriod) {
        const std::int64_t shift = i * static_cast<std::int64_t>(sizeof(T));
        const std::int64_t count = std::min<std::int64_t>(correctionPeriod, samples - i);
        if (!asksItself) {
            fetchAhead<T, false>(src + shift, count);
            fetchAhead<T, false>(background + shift, count);
            fetchAhead<T, true>(dst + shift, count);
        }
        block(src + shift, background + shift, dst + shift, static_cast<int>(count), correction);
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
