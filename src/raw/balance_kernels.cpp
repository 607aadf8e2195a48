#include "raw/balance_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

// Newer processors look up bytes in registers.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raw/balance_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/vectors-inl.h"
// It uses the above.
#include "simd/byte_table-inl.h"

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

constexpr auto BalanceBytes = &Balance<std::uint8_t>;

void PrepareBytes(BalancePattern&) noexcept {}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<std::uint16_t, BalancePattern::longestVector>;
using Bytes = hn::Repartition<std::uint8_t, Words>;

/// Runs `balance(x)` for vectors of `lanes` samples from the first on, asking for memory ahead of them. What is
/// left over begins at the sample that is returned.
template <class T, class BalanceAt>
HWY_INLINE std::int64_t EachVector(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                                   std::int64_t lanes, const BalanceAt& balance)
{
    std::int64_t x = 0;
    while (x + lanes <= samples) {
        const std::int64_t end = std::min(x + samplesPerFetch, samples);
        fetchAhead<T, false>(src + x * std::int64_t{sizeof(T)}, end - x);
        fetchAhead<T, true>(dst + x * std::int64_t{sizeof(T)}, end - x);
        for (; x + lanes <= end; x += lanes)
            balance(x);
    }
    return x;
}

/// What a vector of samples takes that begins at a place of the period.
struct ColoursAt {
    ColoursAt(const BalancePattern& pattern, int place)
        : black(hn::LoadU(Words(), pattern.black.data() + place)),
          whole(hn::LoadU(Words(), pattern.whole.data() + place)),
          fraction(hn::LoadU(Words(), pattern.fraction.data() + place))
    {
    }
    VecOf<Words> black, whole, fraction;
};

/// The whole and the fraction part are multiplied apart: light * fraction / 65536 is the upper half of the
/// product, and the top bit of the lower half rounds it.
VecOf<Words> Balanced(Words d, VecOf<Words> sample, const ColoursAt& colours, VecOf<Words> top)
{
    const auto light = hn::SaturatedSub(sample, colours.black);
    const auto part =
        hn::Add(hn::MulHigh(light, colours.fraction), hn::ShiftRight<15>(hn::Mul(light, colours.fraction)));
    const auto isLow = hn::Eq(hn::MulHigh(light, colours.whole), hn::Zero(d));
    const auto sum = hn::SaturatedAdd(hn::Mul(light, colours.whole), part);
    return hn::IfThenElse(isLow, hn::Min(sum, top), top);
}

template <class T>
void Balance(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
             const BalancePattern& pattern) noexcept
{
    const Words d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto top = hn::Set(d, pattern.top);
    const int step = static_cast<int>(lanes % pattern.period);
    int place = 0;
    ColoursAt colours(pattern, place);
    const std::int64_t rest = EachVector<T>(src, dst, samples, lanes, [&](std::int64_t x) HWY_ATTR {
        if constexpr (sizeof(T) == 1) {
            const hn::Rebind<std::uint8_t, Words> bytes;
            const auto sample = hn::PromoteTo(d, LoadAt(bytes, src + x));
            StoreAt(bytes, hn::TruncateTo(bytes, Balanced(d, sample, colours, top)), dst + x);
        } else {
            StoreAt(d, Balanced(d, LoadAt(d, src + 2 * x), colours, top), dst + 2 * x);
        }
        // Only of three colours a vector holds no whole number of periods.
        if (step != 0) {
            place = Onward(place, step, pattern.period);
            colours = ColoursAt(pattern, place);
        }
    });
    BalanceSamples<T>(src, dst, rest, samples, place, pattern);
}

/// A number of four bytes in a row, again and again.
VecOf<Bytes> EachFour(std::uint32_t four)
{
    return hn::BitCast(Bytes(), hn::Set(hn::Repartition<std::uint32_t, Bytes>(), four));
}

/// The gains of every other byte.
struct GainVectors {
    explicit GainVectors(const FourBytes::Gains& gains)
        : upper(hn::BitCast(Words(), EachFour(gains.upper))),
          lower(hn::BitCast(Words(), EachFour(gains.lower)))
    {
    }

    /// In 1/256, with the half that rounds it.
    VecOf<Words> times(VecOf<Words> light) const
    {
        const auto part = hn::Add(hn::MulHigh(light, lower), hn::Set(Words(), 128));
        return hn::Add(hn::Mul(light, upper), part);
    }

    VecOf<Words> upper, lower;
};

/// Bytes of one, two or four colours, but those left over at the end; the first of these is returned. Gains are
/// below 256, so they have 24 bits, of which 16 and 8 are multiplied apart. Products in 1/256 fit 16 bits where the
/// result is below top; all brighter samples are top.
std::int64_t MultiplyBytes(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                           const FourBytes& four, std::uint16_t highest) noexcept
{
    const Words words;
    const Bytes bytes;
    const GainVectors evenGains(four.gains[0]), oddGains(four.gains[1]);
    const auto black = EachFour(four.black), last = EachFour(four.last);
    const auto top = hn::Set(bytes, static_cast<std::uint8_t>(highest));
    const auto lowByte = hn::Set(words, 0xFF);
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(bytes));
    return EachVector<std::uint8_t>(src, dst, samples, lanes, [&](std::int64_t x) HWY_ATTR {
        const auto light = hn::SaturatedSub(LoadAt(bytes, src + x), black);
        const auto pairs = hn::BitCast(words, light);
        const auto even = hn::ShiftRight<8>(evenGains.times(hn::And(pairs, lowByte)));
        const auto odd = hn::AndNot(lowByte, oddGains.times(hn::ShiftRight<8>(pairs)));
        const auto isTop = hn::Gt(light, last);
        StoreAt(bytes, hn::IfThenElse(isTop, top, hn::BitCast(bytes, hn::Or(even, odd))), dst + x);
    });
}

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

/// Looking up takes half as long as multiplying.
constexpr bool LooksUp(const BalancePattern& pattern)
{
    return pattern.period <= 2;
}

void PrepareBytes(BalancePattern& pattern) noexcept
{
    if (!LooksUp(pattern))
        return;
    std::array<std::uint8_t, 256> every;
    std::iota(every.begin(), every.end(), std::uint8_t{0});
    for (std::size_t odd = 0; odd < 2; ++odd) {
        const FourBytes::Gains& gains = pattern.bytes.gains[odd];
        const auto alike = [odd](std::uint32_t four) { return (four >> 8 * odd & 0xFF) * 0x01010101U; };
        const FourBytes four{alike(pattern.bytes.black), alike(pattern.bytes.last), {gains, gains}};
        MultiplyBytes(every.data(), pattern.results[odd].data(), 256, four, pattern.top);
    }
}

std::int64_t LookUpBytes(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                         const BalancePattern& pattern) noexcept
{
    const ByteTable even(pattern.results[0].data()), odd(pattern.results[1].data());
    const auto isOdd = hn::MaskFromVec(hn::BitCast(Bytes(), hn::Set(Words(), 0x8000)));
    return EachVector<std::uint8_t>(src, dst, samples, 64, [&](std::int64_t x) HWY_ATTR {
        const auto sample = LoadAt(Bytes(), src + x);
        StoreAt(Bytes(), hn::IfThenElse(isOdd, odd.At(sample), even.At(sample)), dst + x);
    });
}

#else

constexpr bool LooksUp(const BalancePattern&)
{
    return false;
}

void PrepareBytes(BalancePattern&) noexcept {}

std::int64_t LookUpBytes(const std::uint8_t*, std::uint8_t*, std::int64_t, const BalancePattern&) noexcept
{
    return 0;
}

#endif

void BalanceBytes(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                  const BalancePattern& pattern) noexcept
{
    if (pattern.period == 3) {
        Balance<std::uint8_t>(src, dst, samples, pattern);
        return;
    }
    const std::int64_t rest = LooksUp(pattern) ? LookUpBytes(src, dst, samples, pattern)
                                               : MultiplyBytes(src, dst, samples, pattern.bytes, pattern.top);
    BalanceSamples<std::uint8_t>(src, dst, rest, samples, 0, pattern);
}

#endif

const BalanceKernels& Kernels()
{
    static constexpr BalanceKernels kernels{{BalanceBytes, &Balance<std::uint16_t>}, &PrepareBytes};
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
