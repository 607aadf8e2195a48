#include "tone/average_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/average_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Samples whose sums stay in the first-level cache while all frames are added.
constexpr std::int64_t blockSamples = 2048;
/// Frames that are read at the same time. More of them would evict each other's lines, since frames often lie
/// a power of two apart.
constexpr std::int64_t framesAtOnce = 8;

#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;

/// Holds the sum of a few samples of type T.
template <class T>
using PartialSum = std::conditional_t<sizeof(T) == 1, std::uint16_t, std::uint32_t>;

template <class T, class D>
hn::Vec<D> LoadSamples(D d, const std::uint8_t* at) noexcept
{
    const auto* const samples = reinterpret_cast<const T*>(at);
    if constexpr (std::is_same_v<T, hn::TFromD<D>>)
        return hn::LoadU(d, samples);
    else
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D>(), samples));
}

template <class D>
void AddPartial(D, hn::Vec<D> partial, std::uint32_t* sums) noexcept
{
    const hn::ScalableTag<std::uint32_t> wide;
    const auto addTo = [&](hn::Vec<decltype(wide)> sum, std::uint32_t* at) {
        hn::Store(hn::Add(hn::Load(wide, at), sum), wide, at);
    };
    if constexpr (sizeof(hn::TFromD<D>) == 4) {
        addTo(partial, sums);
    } else {
        addTo(hn::PromoteTo(wide, hn::LowerHalf(partial)), sums);
        addTo(hn::PromoteTo(wide, hn::UpperHalf(hn::Half<D>(), partial)), sums + hn::Lanes(wide));
    }
}

/// Adds whole strips of four vectors and returns how many samples these were. The frames are fetched from
/// nearer by than elsewhere: the lines of many of them have to stay until they are used.
template <class T>
std::int64_t AddStrips(const std::uint8_t* const* rows, std::int64_t count, std::int64_t samples,
                       std::uint32_t* sums) noexcept
{
    const hn::ScalableTag<PartialSum<T>> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t vectorBytes = lanes * std::int64_t{sizeof(T)};
    std::int64_t i = 0;
    for (; i + 4 * lanes <= samples; i += 4 * lanes) {
        auto sum0 = hn::Zero(d), sum1 = sum0, sum2 = sum0, sum3 = sum0;
        for (std::int64_t f = 0; f < count; ++f) {
            const std::uint8_t* const at = rows[f] + i * std::int64_t{sizeof(T)};
            fetchAhead<T, false, 1024>(at, 4 * lanes);
            sum0 = hn::Add(sum0, LoadSamples<T>(d, at));
            sum1 = hn::Add(sum1, LoadSamples<T>(d, at + vectorBytes));
            sum2 = hn::Add(sum2, LoadSamples<T>(d, at + 2 * vectorBytes));
            sum3 = hn::Add(sum3, LoadSamples<T>(d, at + 3 * vectorBytes));
        }
        AddPartial(d, sum0, sums + i);
        AddPartial(d, sum1, sums + i + lanes);
        AddPartial(d, sum2, sums + i + 2 * lanes);
        AddPartial(d, sum3, sums + i + 3 * lanes);
    }
    return i;
}
#endif

/// Adds a block of `count` frames, at most `framesAtOnce`, from sample `from` of row y on.
template <class T>
void Add(const FrameRows* frames, std::int64_t count, std::int64_t y, std::int64_t from, std::int64_t samples,
         std::uint32_t* HWY_RESTRICT sums) noexcept
{
    const std::uint8_t* rows[framesAtOnce];
    for (std::int64_t f = 0; f < count; ++f)
        rows[f] = frames[f].first + y * frames[f].stride + from * std::int64_t{sizeof(T)};
    std::int64_t added = 0;
#if HWY_TARGET != HWY_SCALAR
    added = AddStrips<T>(rows, count, samples, sums);
#endif
    for (std::int64_t f = 0; f < count; ++f) {
        KO_INDEPENDENT_ITERATIONS
        for (std::int64_t i = added; i < samples; ++i)
            sums[i] += loadSample<T>(rows[f], i);
    }
}

/// Sums over the count, truncated. With half a unit more the exact quotient lies at least 0.5 / count away
/// from a whole number. The reciprocal and the product are each rounded once, which moves the quotient by at
/// most 2^-52 of itself in doubles and 2^-23 in floats: less than that distance while sum + 0.5 stays below
/// 2^51 and 2^22.
template <class T, class Real>
void Divide(const std::uint32_t* HWY_RESTRICT sums, std::uint8_t* HWY_RESTRICT dst, std::int64_t samples,
            std::int64_t count) noexcept
{
    // Small sums convert as signed numbers, which every processor can.
    using Sum = std::conditional_t<std::is_same_v<Real, float>, std::int32_t, std::uint32_t>;
    const Real reciprocal = Real{1} / static_cast<Real>(count);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const Real quotient =
            (static_cast<Real>(static_cast<Sum>(sums[i])) + static_cast<Real>(0.5)) * reciprocal;
        if constexpr (sizeof(T) == 4)
            storeSample(dst, i, static_cast<std::uint32_t>(quotient));
        else
            storeSample(dst, i, static_cast<T>(static_cast<std::int32_t>(quotient)));
    }
}

template <class T>
void RowAverage(const FrameRows* frames, std::int64_t count, std::int64_t y, std::uint8_t* dst,
                std::int64_t samples) noexcept
{
    constexpr std::int64_t largestFloatSum = (1 << 22) - 1;
    const auto divide =
        count <= largestFloatSum / std::numeric_limits<T>::max() ? &Divide<T, float> : &Divide<T, double>;
    alignas(64) std::uint32_t sums[blockSamples];
    for (std::int64_t from = 0; from < samples; from += blockSamples) {
        const std::int64_t block = std::min(blockSamples, samples - from);
        std::fill_n(sums, block, 0U);
        for (std::int64_t f = 0; f < count; f += framesAtOnce)
            Add<T>(frames + f, std::min(framesAtOnce, count - f), y, from, block, sums);
        divide(sums, dst + from * std::int64_t{sizeof(T)}, block, count);
    }
}

const AverageKernels& Kernels()
{
    static constexpr AverageKernels kernels{&RowAverage<std::uint8_t>, &RowAverage<std::uint16_t>,
                                            &RowAverage<std::uint32_t>};
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
const AverageKernels& averageKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
