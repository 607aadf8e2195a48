#include "filters/chamfer_kernels.h"

#include "base/image_view.h"

#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/chamfer_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Wide images of wide distances alone need 64 bits; they run lane by lane.
template <class T>
struct VectorOf {
    using Tag = hn::ScalableTag<T>;
};
template <>
struct VectorOf<std::int64_t> {
    using Tag = hn::CappedTag<std::int64_t, 1>;
};

/// Running minimum over the lanes of a vector.
template <class D, class V>
V PrefixMin(D d, V v)
{
    using T = hn::TFromD<D>;
    if constexpr (hn::MaxLanes(D()) > 1) {
        // Lanes without a neighbour at that distance take lane 0, which precedes them as well.
        for (int shift = 1; shift < static_cast<int>(hn::Lanes(d)); shift *= 2) {
            const auto from =
                hn::Max(hn::Sub(hn::Iota(d, T{0}), hn::Set(d, static_cast<T>(shift))), hn::Zero(d));
            v = hn::Min(v, hn::TableLookupLanes(v, hn::IndicesFromVec(d, from)));
        }
    }
    return v;
}

template <class D, class V>
V BroadcastLast(D d, V v)
{
    using T = hn::TFromD<D>;
    if constexpr (hn::MaxLanes(D()) > 1)
        return hn::TableLookupLanes(v, hn::IndicesFromVec(d, hn::Set(d, static_cast<T>(hn::Lanes(d) - 1))));
    else
        return v;
}

/// Along the row, d[x] = min(d[x], d[x - 1] + straight) is a running minimum of d[x] - straight * x.
template <class T>
void SettleRow(T* row, std::int64_t width, const ChamferTap<T>* taps, std::int64_t tapCount, T straight,
               T far) noexcept
{
    const typename VectorOf<T>::Tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto farAway = hn::Set(d, far);
    const auto step = hn::Set(d, static_cast<T>(straight * lanes));
    auto ramp = hn::Mul(hn::Iota(d, T{0}), hn::Set(d, straight));
    auto carry = farAway;
    const auto settle = [&]<int kVectors>(std::int64_t first, std::integral_constant<int, kVectors>) {
        hn::Vec<decltype(d)> least[kVectors];
        for (int k = 0; k < kVectors; ++k)
            least[k] = hn::LoadU(d, row + first + k * lanes);
        for (std::int64_t i = 0; i < tapCount; ++i) {
            const T* const earlier = taps[i].earlier + first;
            const auto weight = hn::Set(d, taps[i].weight);
            for (int k = 0; k < kVectors; ++k)
                least[k] = hn::Min(least[k], hn::Add(hn::LoadU(d, earlier + k * lanes), weight));
        }
        for (int k = 0; k < kVectors; ++k) {
            const auto flat = hn::Min(carry, PrefixMin(d, hn::Sub(least[k], ramp)));
            carry = BroadcastLast(d, flat);
            hn::StoreU(hn::Min(hn::Add(flat, ramp), farAway), d, row + first + k * lanes);
            ramp = hn::Add(ramp, step);
        }
    };
    // Several vectors at a time share the reading of the taps.
    constexpr int several = 4;
    std::int64_t x = 0;
    for (; x + several * lanes <= width; x += several * lanes)
        settle(x, std::integral_constant<int, several>());
    for (; x < width; x += lanes)
        settle(x, std::integral_constant<int, 1>());
}

template <class T>
void StoreMirrored(const T* row, std::int64_t width, std::uint8_t* dst) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const typename VectorOf<T>::Tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (; x + lanes <= width; x += lanes)
        StoreAt(d, hn::Reverse(d, hn::LoadU(d, row + x)),
                dst + (width - x - lanes) * static_cast<std::int64_t>(sizeof(T)));
#endif
    for (; x < width; ++x)
        storeSample(dst, width - 1 - x, row[x]);
}

template <class T>
double DistanceOf(T distance, T straight, T far) noexcept
{
    return (distance == far ? -1.0 : static_cast<double>(distance)) / static_cast<double>(straight);
}

#if HWY_TARGET != HWY_SCALAR

/// n / divisor for whole n and a divisor below 128, rounded as a division rounds: the product with the inverse is
/// off by less than two units in the last place, the remainder of it is exact, and so the sum is off by far less
/// than 2^-8 of a unit before it is rounded. No quotient comes that near to the middle between two doubles.
template <class D>
VecOf<D> Quotient(VecOf<D> n, VecOf<D> divisor, VecOf<D> inverse)
{
#if HWY_NATIVE_FMA
    const auto guess = hn::Mul(n, inverse);
    return hn::MulAdd(hn::NegMulAdd(guess, divisor, n), inverse, guess);
#else
    static_cast<void>(inverse);
    return hn::Div(n, divisor);
#endif
}

/// Whole vectors of 32-bit distances; returns how many pixels they were.
std::int64_t StoreVectors(const std::int32_t* row, std::int64_t width, std::int32_t straight,
                          std::int32_t far, std::uint8_t* dst) noexcept
{
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto divisor = hn::Set(d, static_cast<double>(straight)), inverse = hn::Set(d, 1.0 / straight);
    const auto farAway = hn::Set(d32, far), none = hn::Set(d32, -1);
    std::int64_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        const auto steps = hn::LoadU(d32, row + x);
        const auto known = hn::IfThenElse(hn::Eq(steps, farAway), none, steps);
        const auto distances = Quotient<decltype(d)>(hn::PromoteTo(d, known), divisor, inverse);
        StoreAt(d, hn::Reverse(d, distances),
                dst + (width - x - lanes) * static_cast<std::int64_t>(sizeof(double)));
    }
    return x;
}

#endif

template <class T>
void StoreDistances(const T* row, std::int64_t width, T straight, T far, std::uint8_t* dst) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(T) == 4)
        x = StoreVectors(row, width, straight, far, dst);
#endif
    for (; x < width; ++x)
        storeSample(dst, width - 1 - x, DistanceOf(row[x], straight, far));
}

template <class T>
constexpr ChamferRows<T> rowsOf{&SettleRow<T>, &StoreMirrored<T>, &StoreDistances<T>};

const ChamferKernels& Kernels()
{
    static constexpr ChamferKernels kernels{rowsOf<std::int32_t>, rowsOf<std::int64_t>};
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
const ChamferKernels& chamferKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
