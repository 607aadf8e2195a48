#include "tone/background_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"
#include "frame/conversions.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/background_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "frame/low_bits-inl.h"

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

template <class T>
void ScalarSamples(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                   std::int64_t from, std::int64_t to, const Correction& correction) noexcept
{
    for (std::int64_t i = from; i < to; ++i) {
        const double gain = correction.gain[i % correction.period];
        storeSample(dst, i, Corrected(loadSample<T>(src, i), loadSample<T>(background, i), gain, correction));
    }
}

#if HWY_TARGET != HWY_SCALAR

/// a / b correctly rounded, for whole numbers below 2^16; anything where b is 0.
///
/// With multiply-add in one rounding there is no need to divide doubles. A single-precision reciprocal and
/// one Newton step give 1 / b to 47 bits; the remainder of the quotient made with it is exact, and adding its
/// own quotient leaves a relative error of 2^-90 before the last rounding. No quotient of 16-bit numbers is
/// that close to the middle between two doubles without being a double itself: the distance is at least
/// 2^-70.
template <class D>
VecOf<D> Quotient(D d, VecOf<D> a, VecOf<D> b)
{
#if HWY_NATIVE_FMA
    const hn::Rebind<float, D> df;
    const auto single = hn::Div(hn::Set(df, 1.0F), hn::DemoteTo(df, b));
    const auto rough = hn::PromoteTo(d, single);
    const auto reciprocal = hn::MulAdd(rough, hn::NegMulAdd(rough, b, hn::Set(d, 1.0)), rough);
    const auto quotient = hn::Mul(a, reciprocal);
    return hn::MulAdd(hn::NegMulAdd(quotient, b, a), reciprocal, quotient);
#else
    (void)d;
    return hn::Div(a, b);
#endif
}

template <class T, class D>
VecOf<D> LoadWide(D d, const std::uint8_t* at)
{
    const hn::Rebind<std::int32_t, D> d32;
    return hn::PromoteTo(d, hn::PromoteTo(d32, LoadAt(hn::Rebind<T, D>(), at)));
}

/// Whole vectors; returns how many samples they were.
template <class T>
std::int64_t VectorSamples(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                           std::int64_t samples, const Correction& correction) noexcept
{
    const hn::ScalableTag<double> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    if (correction.period % lanes != 0)
        return 0;
    const auto ratio = hn::Set(d, correction.ratio), top = hn::Set(d, correction.top);
    const auto zero = hn::Zero(d);
    constexpr std::int64_t size = sizeof(T);
    std::int64_t i = 0, phase = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto sample = LoadWide<T>(d, src + i * size);
        const auto below = LoadWide<T>(d, background + i * size);
        auto v = hn::Mul(Quotient(d, sample, below), ratio);
        v = hn::Mul(v, hn::LoadU(d, correction.gain + phase));
        v = hn::IfThenElse(hn::Lt(v, top), v, top);
        v = hn::IfThenElse(hn::Eq(below, zero), correction.keep ? sample : zero, v);
        if (MakeStorable(d, v, storableLimit<T>))
            StoreLowBits<T>(d, v, dst + i * size);
        else
            ScalarSamples<T>(src, background, dst, i, i + lanes, correction);
        phase += lanes;
        phase = phase == correction.period ? 0 : phase;
    }
    return i;
}

#endif

template <class T>
void RowCorrected(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                  std::int64_t samples, const Correction& correction) noexcept
{
    std::int64_t done = 0;
#if HWY_TARGET != HWY_SCALAR
    done = VectorSamples<T>(src, background, dst, samples, correction);
#endif
    ScalarSamples<T>(src, background, dst, done, samples, correction);
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
