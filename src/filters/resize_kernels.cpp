#include "filters/resize_kernels.h"

#include "base/image_view.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resize_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "filters/resize_rounding-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class F>
using LanesOf = hn::CappedTag<F, ResizeGroup<F>::mostLanes>;

template <class T, class D>
hn::Vec<D> LoadSamples(D d, const std::uint8_t* at)
{
    const hn::Rebind<T, D> dt;
    const hn::Rebind<std::int32_t, D> d32;
    const auto samples = hn::PromoteTo(d32, hn::LoadU(dt, reinterpret_cast<const T*>(at)));
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::ConvertTo(d, samples);
    else
        return hn::PromoteTo(d, samples);
}

/// The weighted sums of a vector of samples, `at` bytes from the beginning of their rows.
template <class T, bool HasInner, class D>
hn::Vec<D> SumsAt(D d, const ResizeSource<hn::TFromD<D>>& rows, std::int64_t at)
{
    const std::uint8_t* const first = rows.first + at;
    const std::uint8_t* const last = first + (rows.count - 1) * rows.stride;
    const auto ends = hn::MulAdd(LoadSamples<T>(d, first), hn::Set(d, rows.firstWeight),
                                 hn::Mul(LoadSamples<T>(d, last), hn::Set(d, rows.lastWeight)));
    if constexpr (!HasInner)
        return ends;
    auto inner = hn::Zero(d);
    for (const std::uint8_t* row = first + rows.stride; row != last; row += rows.stride)
        inner = hn::Add(inner, LoadSamples<T>(d, row));
    return hn::MulAdd(inner, hn::Set(d, rows.inner), ends);
}

template <class T, bool HasInner, class F, class D>
void AcrossWith(D d, ResizeSource<F> rows, F* sums, std::int64_t samples)
{
    const auto step = static_cast<std::int64_t>(hn::Lanes(d));
    for (std::int64_t x = 0; x + step <= samples; x += step)
        hn::StoreU(SumsAt<T, HasInner>(d, rows, x * static_cast<std::int64_t>(sizeof(T))), d, sums + x);
}

template <class T, class F>
void Across(const ResizeSource<F>& rows, F* sums, std::int64_t samples) noexcept
{
    const LanesOf<F> d;
    const std::int64_t whole = samples - samples % static_cast<std::int64_t>(hn::Lanes(d));
    const auto add = [&](auto lanes, std::int64_t from, std::int64_t to) HWY_ATTR {
        ResizeSource<F> part = rows;
        part.first += from * static_cast<std::int64_t>(sizeof(T));
        if (rows.count > 2)
            AcrossWith<T, true>(lanes, part, sums + from, to - from);
        else
            AcrossWith<T, false>(lanes, part, sums + from, to - from);
    };
    add(d, 0, whole);
    add(hn::CappedTag<F, 1>{}, whole, samples);
}

/// Bytes that a group makes of one row, in doubles.
void ExactBytes(const float* sums, const ResizeGroup<float>& group, const ResizePlan<float>& plan,
                const ResizeScale& scale, std::uint8_t* bytes) noexcept
{
    const LanesOf<float> d;
    constexpr std::size_t lanes = hn::MaxLanes(d), parts = lanes > 1 ? 2 : 1, each = lanes / parts;
    const hn::CappedTag<float, each> part;
    const hn::Rebind<double, decltype(part)> d64;
    const auto offset = hn::Set(d64, scale.offset);
    hn::Vec<decltype(d64)> totals[2] = {offset, offset};
    const auto indices = hn::SetTableIndices(d, group.lanes);
    for (std::int64_t t = 0; t <= plan.innerCount + plan.endCount; ++t) {
        alignas(64) float taps[lanes], weights[lanes];
        hn::Store(hn::TableLookupLanes(hn::LoadU(d, sums + group.from + t * plan.channels), indices), d,
                  taps);
        const bool isInner = t > 0 && t <= plan.innerCount;
        const std::int64_t end = t == 0 ? 0 : t - plan.innerCount;
        hn::Store(isInner ? hn::Set(d, plan.inner) : hn::Load(d, group.weights[end]), d, weights);
        for (std::size_t i = 0; i < parts; ++i) {
            const auto tap = hn::PromoteTo(d64, hn::Load(part, taps + i * each));
            totals[i] = hn::MulAdd(tap, hn::PromoteTo(d64, hn::Load(part, weights + i * each)), totals[i]);
        }
    }
    for (std::size_t i = 0; i < parts; ++i)
        hn::StoreU(TruncatedTo<std::uint8_t>(d64, hn::Mul(totals[i], hn::Set(d64, scale.scale))),
                   hn::Rebind<std::uint8_t, decltype(d64)>(), bytes + i * each);
}

/// Rounded to the nearest whole number, not truncated.
template <class T, class F>
constexpr bool isNearest = sizeof(T) == 1 && sizeof(F) == 4;

/// `Rows` rows, so that the plan, which is larger than they are, is read less often. `Taps` is 2 where the axis becomes
/// longer, and 0 for any number.
template <class T, class F, bool IsChecked, std::size_t Rows, int Taps>
void AlongRows(const ResizeRows<F>& rows, const ResizePlan<F>& plan, const ResizeScale& scale) noexcept
{
    const LanesOf<F> d;
    using V = hn::Vec<LanesOf<F>>;
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(d));
    for (const ResizeGroup<F>& group : plan.groups) {
        const auto indices = hn::SetTableIndices(d, group.lanes);
        const F* const from = rows.sums + group.from;
        const auto tap = [&](std::int64_t row, std::int64_t t) HWY_ATTR {
            return hn::TableLookupLanes(hn::LoadU(d, from + row * rows.pitch + t * plan.channels), indices);
        };
        V sums[Rows];
        const V first = hn::Load(d, group.weights[0]);
        const V offset = hn::Set(d, IsChecked         ? F{0}
                                    : isNearest<T, F> ? F{nearestOffset}
                                                      : static_cast<F>(scale.offset));
        for (std::size_t row = 0; row < Rows; ++row)
            sums[row] = hn::MulAdd(tap(row, 0), first, offset);
        if (Taps == 0 && plan.innerCount != 0) {
            const V weight = hn::Set(d, plan.inner);
            for (std::size_t row = 0; row < Rows; ++row) {
                V inner = tap(row, 1);
                for (std::int64_t t = 2; t <= plan.innerCount; ++t)
                    inner = hn::Add(inner, tap(row, t));
                sums[row] = hn::MulAdd(inner, weight, sums[row]);
            }
        }
        for (std::int64_t end = 1; end <= (Taps == 0 ? plan.endCount : Taps - 1); ++end) {
            const V weight = hn::Load(d, group.weights[end]);
            const std::int64_t t = Taps == 0 ? plan.innerCount + end : end;
            for (std::size_t row = 0; row < Rows; ++row)
                sums[row] = hn::MulAdd(tap(row, t), weight, sums[row]);
        }
        const hn::Rebind<T, LanesOf<F>> dt;
        const V factor = hn::Set(d, static_cast<F>(scale.scale));
        std::uint8_t* const at = rows.dst + group.to * static_cast<std::int64_t>(sizeof(T));
        const std::int64_t count = std::min(plan.samples - group.to, lanes);
        V farthest = hn::Zero(d);
        for (std::size_t row = 0; row < Rows; ++row) {
            hn::Vec<decltype(dt)> results;
            if constexpr (isNearest<T, F>)
                results = NearestBytes(d, sums[row], factor, farthest);
            else
                results = TruncatedTo<T>(d, hn::Mul(sums[row], factor));
            std::uint8_t* const to = at + static_cast<std::int64_t>(row) * rows.stride;
            // What a group writes behind its own results, the next one writes again.
            if (lanes == 1 || count == lanes) {
                hn::StoreU(results, dt, reinterpret_cast<T*>(to));
            } else {
                T rest[hn::MaxLanes(d)];
                hn::StoreU(results, dt, rest);
                std::memcpy(to, rest, static_cast<std::size_t>(count) * sizeof(T));
            }
        }
        if constexpr (IsChecked) {
            if (hn::AllTrue(d, hn::Lt(farthest, hn::Set(d, static_cast<F>(scale.certain)))))
                continue;
            for (std::size_t row = 0; row < Rows; ++row) {
                const auto y = static_cast<std::int64_t>(row);
                std::uint8_t bytes[lanes];
                ExactBytes(rows.sums + y * rows.pitch, group, plan, scale, bytes);
                std::memcpy(at + y * rows.stride, bytes, static_cast<std::size_t>(count));
            }
        }
    }
}

template <class T, class F, bool IsChecked = false>
void Along(const ResizeRows<F>& rows, const ResizePlan<F>& plan, const ResizeScale& scale) noexcept
{
    ResizeRows<F> rest = rows;
    const auto take = [&](std::int64_t count) {
        rest.sums += count * rest.pitch;
        rest.dst += count * rest.stride;
        rest.count -= count;
    };
    const bool isLonger = plan.innerCount == 0 && plan.endCount == 1;
    for (; rest.count >= 4; take(4)) {
        if (isLonger)
            AlongRows<T, F, IsChecked, 4, 2>(rest, plan, scale);
        else
            AlongRows<T, F, IsChecked, 4, 0>(rest, plan, scale);
    }
    for (; rest.count != 0; take(1))
        AlongRows<T, F, IsChecked, 1, 0>(rest, plan, scale);
}

template <class T, class F, bool IsChecked = false>
constexpr ResizePasses<F> passes{&Across<T, F>, &Along<T, F, IsChecked>,
                                 static_cast<std::int64_t>(hn::MaxLanes(LanesOf<F>{}))};

template <class T>
constexpr ResizeByPrecision byPrecision{passes<T, float>, passes<T, double>};

const ResizeKernels& Kernels()
{
    static constexpr ResizeKernels kernels{{byPrecision<std::uint8_t>, passes<std::uint8_t, float, true>},
                                           byPrecision<std::uint16_t>};
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
const ResizeKernels& resizeKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
