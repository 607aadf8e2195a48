#include "filters/chamfer_kernels.h"

#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/chamfer_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

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

const ChamferKernels& Kernels()
{
    static constexpr ChamferKernels kernels{{&SettleRow<std::int32_t>}, {&SettleRow<std::int64_t>}};
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
