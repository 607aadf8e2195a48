#include "filters/resize_kernels.h"

#include "base/image_view.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resize_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

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

/// Truncated.
template <class T, class D>
hn::Vec<hn::Rebind<T, D>> ToSamples(D, hn::Vec<D> v)
{
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> dt;
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::DemoteTo(dt, hn::ConvertTo(d32, v));
    else
        return hn::DemoteTo(dt, hn::DemoteTo(d32, v));
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

/// Four rows of results that are bytes of doubles are rounded together, which is faster than to truncate each.
template <class T, class F, std::size_t Rows>
constexpr bool areRounded = sizeof(T) == 1 && sizeof(F) == 8 && Rows == 4 && hn::MaxLanes(LanesOf<F>{}) > 1;

/// A vector of results of one row after the other, from sums that have 1/4 added. Rounded to the nearest whole number,
/// such a sum * scale is what the truncated product is, which is larger by 1/2: that one stays away from whole numbers
/// by more than roundings move it. `rounder` is added and leaves the number in the low bits.
template <class D>
void RoundFourRows(D d, const hn::Vec<D> (&sums)[4], double scale, std::uint8_t* bytes)
{
    constexpr double rounder = 6755399441055744.0;  // 1.5 * 2^52
    constexpr std::size_t lanes = hn::MaxLanes(d), columns = std::min<std::size_t>(lanes, 4);
    const hn::RebindToUnsigned<D> d64;
    const hn::Rebind<std::uint32_t, D> d32;
    const hn::Repartition<std::uint8_t, decltype(d32)> d8;
    const auto result = [&](std::size_t row) HWY_ATTR {
        return hn::BitCast(d64, hn::MulAdd(sums[row], hn::Set(d, scale), hn::Set(d, rounder)));
    };
    const auto upper = hn::Or(hn::ShiftLeft<8>(result(1)), hn::ShiftLeft<24>(result(3)));
    const auto all = hn::Or(hn::Or(result(0), hn::ShiftLeft<16>(result(2))), upper);
    // A lane has the four rows of a column; each block of columns is transposed.
    struct Order {
        alignas(16) std::uint8_t from[16];
        constexpr Order() : from()
        {
            for (std::size_t i = 0; i < 4 * columns; ++i)
                from[i] = static_cast<std::uint8_t>(i % columns * 4 + i / columns);
        }
    };
    static constexpr Order order;
    auto rows =
        hn::TableLookupBytes(hn::BitCast(d8, hn::TruncateTo(d32, all)), hn::LoadDup128(d8, order.from));
    if constexpr (lanes == 8) {
        alignas(32) static constexpr std::int32_t blocks[8] = {0, 4, 1, 5, 2, 6, 3, 7};
        rows =
            hn::BitCast(d8, hn::TableLookupLanes(hn::BitCast(d32, rows), hn::SetTableIndices(d32, blocks)));
    }
    hn::StoreU(rows, d8, bytes);
}

/// `Rows` rows, so that the plan, which is larger than they are, is read less often. `Taps` is 2 where the axis becomes
/// longer, and 0 for any number.
template <class T, class F, std::size_t Rows, int Taps>
void AlongRows(const ResizeRows<F>& rows, const ResizePlan<F>& plan, const ResizeScale<F>& scale) noexcept
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
        const V offset = hn::Set(d, areRounded<T, F, Rows> ? F{0.25} : scale.offset);
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
        std::uint8_t* const at = rows.dst + group.to * static_cast<std::int64_t>(sizeof(T));
        const std::int64_t room = plan.samples - group.to;
        std::uint8_t bytes[4 * lanes];
        if constexpr (areRounded<T, F, Rows>)
            RoundFourRows(d, sums, scale.scale, bytes);
        for (std::size_t row = 0; row < Rows; ++row) {
            const hn::Rebind<T, LanesOf<F>> dt;
            hn::Vec<decltype(dt)> results;
            if constexpr (areRounded<T, F, Rows>)
                results = hn::LoadU(dt, bytes + row * lanes);
            else
                results = ToSamples<T>(d, hn::Mul(sums[row], hn::Set(d, scale.scale)));
            std::uint8_t* const to = at + static_cast<std::int64_t>(row) * rows.stride;
            // What a group writes behind its own results, the next one writes again.
            if (room >= lanes) {
                hn::StoreU(results, dt, reinterpret_cast<T*>(to));
            } else {
                T rest[hn::MaxLanes(d)];
                hn::StoreU(results, dt, rest);
                std::memcpy(to, rest, static_cast<std::size_t>(room) * sizeof(T));
            }
        }
    }
}

template <class T, class F>
void Along(const ResizeRows<F>& rows, const ResizePlan<F>& plan, const ResizeScale<F>& scale) noexcept
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
            AlongRows<T, F, 4, 2>(rest, plan, scale);
        else
            AlongRows<T, F, 4, 0>(rest, plan, scale);
    }
    for (; rest.count != 0; take(1))
        AlongRows<T, F, 1, 0>(rest, plan, scale);
}

template <class T, class F>
constexpr ResizePasses<F> passes{&Across<T, F>, &Along<T, F>,
                                 static_cast<std::int64_t>(hn::MaxLanes(LanesOf<F>{}))};

template <class T>
constexpr ResizeByPrecision byPrecision{passes<T, float>, passes<T, double>};

const ResizeKernels& Kernels()
{
    static constexpr ResizeKernels kernels{byPrecision<std::uint8_t>, byPrecision<std::uint16_t>};
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
