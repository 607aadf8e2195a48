#include "convert/convert_kernels.h"

#include "base/conversions.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/convert_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/low_bits-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Single samples: the meaning of the rows, their tails, and what vectors leave aside.

double Mapped(double sample, double low, double scale) noexcept
{
    return (sample - low) * scale;
}

float Mapped(float sample, float low, float scale) noexcept
{
    return (sample - low) * scale;
}

double Mapped(std::int32_t sample, std::int32_t low, double scale) noexcept
{
    const auto wrapped = static_cast<std::uint32_t>(sample) - static_cast<std::uint32_t>(low);
    return static_cast<std::int32_t>(wrapped) * scale;
}

template <class Sample, class Low, class Scale>
double MappedSample(const std::uint8_t* src, std::int64_t i, const Ramp<Low, Scale>& ramp) noexcept
{
    const std::int64_t p = i % ramp.period;
    return Mapped(static_cast<Low>(loadSample<Sample>(src, i)), ramp.low[p], ramp.scale[p]);
}

/// Cuts to 0...top, NaN to 0.
struct Clamp {
    double top;

    template <class Dst>
    Dst Stored(double value) const noexcept
    {
        // A top of 2^32 - 1 is no float, but every float below it is below 2^32 - 1 as a double too.
        return value > 0 ? static_cast<Dst>(std::min(value, top)) : Dst{0};
    }
};

/// Keeps the low bits.
struct Wrap {
    template <class Dst>
    Dst Stored(double value) const noexcept
    {
        return static_cast<Dst>(toInt64(value));
    }
};

template <class Sample, class Dst, class Low, class Scale, class Fit>
void ScalarSamples(const std::uint8_t* src, std::uint8_t* dst, std::int64_t from, std::int64_t to,
                   const Ramp<Low, Scale>& ramp, Fit fit) noexcept
{
    for (std::int64_t i = from; i < to; ++i)
        storeSample(dst, i, fit.template Stored<Dst>(MappedSample<Sample>(src, i, ramp)));
}

#if HWY_TARGET != HWY_SCALAR

// Vectors of doubles, one for each destination sample.

template <class Sample, class D>
VecOf<D> MappedVec(D d, const std::uint8_t* at, const double* low, const double* scale)
{
    VecOf<D> sample;
    if constexpr (std::is_same_v<Sample, double>)
        sample = LoadAt(d, at);
    else
        sample = hn::PromoteTo(d, LoadAt(hn::Rebind<Sample, D>(), at));
    return hn::Mul(hn::Sub(sample, hn::LoadU(d, low)), hn::LoadU(d, scale));
}

template <class Sample, class D>
VecOf<D> MappedVec(D d, const std::uint8_t* at, const float* low, const float* scale)
{
    const hn::Rebind<float, D> ds;
    return hn::PromoteTo(d, hn::Mul(hn::Sub(LoadAt(ds, at), hn::LoadU(ds, low)), hn::LoadU(ds, scale)));
}

/// Cuts to 0...top; the comparison is what makes NaN 0.
template <class D>
VecOf<D> Clamped(D d, VecOf<D> v, SampleIn<D> top)
{
    const auto zero = hn::Zero(d);
    return hn::Min(hn::IfThenElse(hn::Gt(v, zero), v, zero), hn::Set(d, top));
}

template <class Dst, class D>
bool StoreFitted(D d, VecOf<D> v, std::uint8_t* at, Clamp clamp)
{
    StoreLowBits<Dst>(d, Clamped(d, v, clamp.top), at);
    return true;
}

template <class Dst, class D>
bool StoreFitted(D d, VecOf<D> v, std::uint8_t* at, Wrap)
{
    if (!MakeStorable(d, v, storableLimit<Dst>))
        return false;
    StoreLowBits<Dst>(d, v, at);
    return true;
}

template <class Sample, class Dst>
struct ByDoubles {
    template <class Low, class Scale, class Fit>
    static bool Store(const std::uint8_t* src, std::uint8_t* dst, const Low* low, const Scale* scale, Fit fit)
    {
        const hn::ScalableTag<double> d;
        return StoreFitted<Dst>(d, MappedVec<Sample>(d, src, low, scale), dst, fit);
    }
    static std::int64_t Lanes() { return static_cast<std::int64_t>(hn::Lanes(hn::ScalableTag<double>())); }
};

// Vectors of floats that stay floats; for destinations whose values a float holds.

template <class D>
VecOf<D> MappedFloats(D d, VecOf<D> samples, const float* low, const float* scale)
{
    return hn::Mul(hn::Sub(samples, hn::LoadU(d, low)), hn::LoadU(d, scale));
}

template <class Dst, class D>
auto LowBits(D, VecOf<D> v)
{
    const hn::RebindToUnsigned<D> du;
    return hn::TruncateTo(hn::Rebind<Dst, D>(), hn::BitCast(du, hn::ConvertTo(hn::RebindToSigned<D>(), v)));
}

template <class Dst>
struct ByFloats {
    static bool Store(const std::uint8_t* src, std::uint8_t* dst, const float* low, const float* scale,
                      Clamp clamp)
    {
        const hn::ScalableTag<float> d;
        const auto v = Clamped(d, MappedFloats(d, LoadAt(d, src), low, scale), static_cast<float>(clamp.top));
        // The mantissa of a float between 2^23 and 2^24 is a whole number.
        const auto bits =
            hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), hn::Add(hn::Trunc(v), hn::Set(d, 8388608.0F)));
        StoreAt(hn::Rebind<Dst, decltype(d)>(), hn::TruncateTo(hn::Rebind<Dst, decltype(d)>(), bits), dst);
        return true;
    }
    static bool Store(const std::uint8_t* src, std::uint8_t* dst, const float* low, const float* scale, Wrap)
    {
        const hn::ScalableTag<float> d;
        auto v = MappedFloats(d, LoadAt(d, src), low, scale);
        if (!MakeStorable(d, v, 2147483648.0F))
            return false;
        StoreAt(hn::Rebind<Dst, decltype(d)>(), LowBits<Dst>(d, v), dst);
        return true;
    }
    static std::int64_t Lanes() { return static_cast<std::int64_t>(hn::Lanes(hn::ScalableTag<float>())); }
};

// Vectors of 32-bit integers, mapped in two halves.

template <class Dst>
struct ByIntegers {
    static bool Store(const std::uint8_t* src, std::uint8_t* dst, const std::int32_t* low,
                      const double* scale, Wrap)
    {
        const hn::ScalableTag<std::int32_t> d;
        const hn::Half<decltype(d)> dh;
        const hn::ScalableTag<double> wide;
        const auto mapped = [&](VecOf<decltype(dh)> differences, const double* scales) {
            return hn::DemoteTo(dh, hn::Mul(hn::PromoteTo(wide, differences), hn::LoadU(wide, scales)));
        };
        const auto differences = hn::Sub(LoadAt(d, src), hn::LoadU(d, low));
        const auto v = hn::Combine(d, mapped(hn::UpperHalf(dh, differences), scale + hn::Lanes(wide)),
                                   mapped(hn::LowerHalf(dh, differences), scale));
        // What 32 bits cannot hold has become one of the outermost values.
        using Limits = std::numeric_limits<std::int32_t>;
        const auto cut = hn::Or(hn::Eq(v, hn::Set(d, Limits::min())), hn::Eq(v, hn::Set(d, Limits::max())));
        if (!hn::AllFalse(d, cut))
            return false;
        const hn::Rebind<Dst, decltype(d)> to;
        StoreAt(to, hn::TruncateTo(to, hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), v)), dst);
        return true;
    }
    static std::int64_t Lanes() { return ByFloats<Dst>::Lanes(); }
};

template <class Sample, class Dst, class Low>
using VectorsFor = std::conditional_t<
    std::is_same_v<Low, std::int32_t>, ByIntegers<Dst>,
    std::conditional_t<std::is_same_v<Low, float> && sizeof(Dst) < 4, ByFloats<Dst>, ByDoubles<Sample, Dst>>>;

/// Whole vectors; returns how many samples they were. Stepping through a uniform ramp would only cost time.
template <class Sample, class Dst, bool Uniform, class Low, class Scale, class Fit>
std::int64_t VectorSamples(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                           const Ramp<Low, Scale>& ramp, Fit fit) noexcept
{
    using Vectors = VectorsFor<Sample, Dst, Low>;
    const std::int64_t lanes = Vectors::Lanes();
    const Ramp<Low, Scale> own = ramp;
    if (own.period % lanes != 0)
        return 0;
    std::int64_t i = 0, phase = 0;
    while (i + lanes <= samples) {
        const std::int64_t end = std::min(i + samplesPerFetch, samples - lanes + 1);
        // Whatever a trial of copying says: wide samples come often to ends of pages, where processors stop fetching.
        fetchLines<false>(reinterpret_cast<std::uintptr_t>(src) +
                              static_cast<std::uintptr_t>(i) * sizeof(Sample) + 4096,
                          static_cast<std::uintptr_t>(end - i) * sizeof(Sample));
        fetchAhead<Dst, true>(dst + i * std::int64_t{sizeof(Dst)}, end - i);
        for (; i < end; i += lanes) {
            if (!Vectors::Store(src + i * std::int64_t{sizeof(Sample)}, dst + i * std::int64_t{sizeof(Dst)},
                                own.low + phase, own.scale + phase, fit))
                ScalarSamples<Sample, Dst>(src, dst, i, i + lanes, ramp, fit);
            if constexpr (!Uniform)
                phase = phase + lanes == own.period ? 0 : phase + lanes;
        }
    }
    return i;
}

#endif

template <class Sample, class Dst, class Low, class Scale, class Fit>
void Convert(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const Ramp<Low, Scale>& ramp,
             Fit fit) noexcept
{
    std::int64_t done = 0;
#if HWY_TARGET != HWY_SCALAR
    done = ramp.isUniform ? VectorSamples<Sample, Dst, true>(src, dst, samples, ramp, fit)
                          : VectorSamples<Sample, Dst, false>(src, dst, samples, ramp, fit);
#endif
    ScalarSamples<Sample, Dst>(src, dst, done, samples, ramp, fit);
}

template <class Sample, class Dst, class AnyRamp>
void RowClamped(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const AnyRamp& ramp,
                double top) noexcept
{
    Convert<Sample, Dst>(src, dst, samples, ramp, Clamp{top});
}

template <class Sample, class Dst, class AnyRamp>
void RowWrapped(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const AnyRamp& ramp) noexcept
{
    Convert<Sample, Dst>(src, dst, samples, ramp, Wrap{});
}

#if HWY_TARGET != HWY_SCALAR

/// Whole vectors of pixels; returns how many samples they were.
std::int64_t VectorsReversed(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                             const SingleRamp& ramp) noexcept
{
    const hn::ScalableTag<float> d;
    const hn::Rebind<std::uint8_t, decltype(d)> to;
    const auto step = static_cast<std::int64_t>(3 * hn::Lanes(d));
    const auto mapped = [&](VecOf<decltype(d)> v, int c) {
        return hn::Mul(hn::Sub(v, hn::Set(d, ramp.low[c])), hn::Set(d, ramp.scale[c]));
    };
    std::int64_t i = 0;
    for (; i + step <= samples; i += step) {
        VecOf<decltype(d)> a, b, c;
        hn::LoadInterleaved3(d, reinterpret_cast<const float*>(src) + i, a, b, c);
        a = mapped(a, 0);
        b = mapped(b, 1);
        c = mapped(c, 2);
        constexpr float limit = 2147483648.0F;
        if (!MakeStorable(d, a, limit) || !MakeStorable(d, b, limit) || !MakeStorable(d, c, limit))
            break;
        hn::StoreInterleaved3(LowBits<std::uint8_t>(d, c), LowBits<std::uint8_t>(d, b),
                              LowBits<std::uint8_t>(d, a), to, dst + i);
    }
    return i;
}

#endif

void RowReversed(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                 const SingleRamp& ramp) noexcept
{
    std::int64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    i = VectorsReversed(src, dst, samples, ramp);
#endif
    for (; i < samples; ++i) {
        const std::int64_t reversed = i - i % 3 + 2 - i % 3;
        dst[reversed] = Wrap{}.Stored<std::uint8_t>(MappedSample<float>(src, i, ramp));
    }
}

template <class Dst>
constexpr ClampedRows AllClamped()
{
    return {&RowClamped<double, Dst, DoubleRamp>, &RowClamped<float, Dst, DoubleRamp>,
            &RowClamped<float, Dst, SingleRamp>};
}

template <class Dst>
constexpr WrappedRows AllWrapped()
{
    return {&RowWrapped<double, Dst, DoubleRamp>, &RowWrapped<float, Dst, DoubleRamp>};
}

const ConvertKernels& Kernels()
{
    static constexpr ConvertKernels kernels{
        {AllClamped<std::uint8_t>(), AllClamped<std::uint16_t>(), AllClamped<std::uint32_t>()},
        {AllWrapped<std::uint8_t>(), AllWrapped<std::uint16_t>(), AllWrapped<std::uint32_t>()},
        {&RowWrapped<std::int32_t, std::uint8_t, IntegerRamp>,
         &RowWrapped<std::int32_t, std::uint16_t, IntegerRamp>},
        &RowWrapped<float, std::uint8_t, SingleRamp>,
        &RowReversed,
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
const ConvertKernels& convertKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
