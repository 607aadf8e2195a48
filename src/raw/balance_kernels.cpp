#include "raw/balance_kernels.h"

#include "base/image_view.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raw/balance_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Where in the period the sample `step` further on lies; both are below the period.
int Onward(int place, int step, int period) noexcept
{
    return place + step < period ? place + step : place + step - period;
}

template <class T>
void BalanceSamples(const std::uint8_t* src, std::uint8_t* dst, std::int64_t from, std::int64_t to, int place,
                    const BalancePattern& pattern) noexcept
{
    for (std::int64_t x = from; x < to; ++x, place = Onward(place, 1 % pattern.period, pattern.period)) {
        const auto at = static_cast<std::size_t>(place);
        const std::uint64_t sample = loadSample<T>(src, x), black = pattern.black[at];
        const std::uint64_t gain = std::uint64_t{pattern.whole[at]} << 16 | pattern.fraction[at];
        const std::uint64_t balanced = ((sample > black ? sample - black : 0) * gain + 0x8000) >> 16;
        storeSample(dst, x, static_cast<T>(std::min<std::uint64_t>(balanced, pattern.top)));
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void Balance(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
             const BalancePattern& pattern) noexcept
{
    BalanceSamples<T>(src, dst, 0, samples, 0, pattern);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<std::uint16_t, BalancePattern::longestVector>;

/// The whole and the fraction part are multiplied apart: sample * fraction / 65536 is the upper half of the
/// product, and the top bit of the lower half rounds it.
VecOf<Words> Balanced(Words d, VecOf<Words> sample, const BalancePattern& pattern, int place)
{
    const auto at = [&](const BalancePattern::Values& values)
                        HWY_ATTR { return hn::LoadU(d, values.data() + place); };
    const auto light = hn::SaturatedSub(sample, at(pattern.black));
    const auto fraction = at(pattern.fraction), whole = at(pattern.whole);
    const auto part = hn::Add(hn::MulHigh(light, fraction), hn::ShiftRight<15>(hn::Mul(light, fraction)));
    const auto isLow = hn::Eq(hn::MulHigh(light, whole), hn::Zero(d));
    const auto sum = hn::SaturatedAdd(hn::Mul(light, whole), part);
    const auto top = hn::Set(d, pattern.top);
    return hn::IfThenElse(isLow, hn::Min(sum, top), top);
}

template <class T>
void Balance(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
             const BalancePattern& pattern) noexcept
{
    const Words d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const int step = static_cast<int>(lanes % pattern.period);
    int place = 0;
    std::int64_t x = 0;
    for (; x + lanes <= samples; x += lanes, place = Onward(place, step, pattern.period)) {
        if constexpr (sizeof(T) == 1) {
            const hn::Rebind<std::uint8_t, Words> bytes;
            const auto sample = hn::PromoteTo(d, LoadAt(bytes, src + x));
            const auto balanced =
                hn::BitCast(hn::RebindToSigned<Words>(), Balanced(d, sample, pattern, place));
            StoreAt(bytes, hn::DemoteTo(bytes, balanced), dst + x);
        } else {
            StoreAt(d, Balanced(d, LoadAt(d, src + 2 * x), pattern, place), dst + 2 * x);
        }
    }
    BalanceSamples<T>(src, dst, x, samples, place, pattern);
}

#endif

const BalanceKernels& Kernels()
{
    static constexpr BalanceKernels kernels{&Balance<std::uint8_t>, &Balance<std::uint16_t>};
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
const BalanceKernels& balanceKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
