#include "filters/resize_kernels.h"

#include "base/image_view.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resize_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<double, ResizeGroup::mostLanes>;

template <class T>
hn::Vec<D> LoadSamples(const std::uint8_t* at)
{
    const hn::Rebind<T, D> dt;
    const hn::Rebind<std::int32_t, D> d32;
    return hn::PromoteTo(D{}, hn::PromoteTo(d32, hn::LoadU(dt, reinterpret_cast<const T*>(at))));
}

template <class T>
void Across(const ResizeRows& rows, double* sums, std::int64_t samples) noexcept
{
    const D d;
    const auto step = static_cast<std::int64_t>(hn::Lanes(d));
    const std::uint8_t* const last = rows.first + (rows.count - 1) * rows.stride;
    std::int64_t x = 0;
    for (; x + step <= samples; x += step) {
        const std::uint8_t* at = rows.first + x * static_cast<std::int64_t>(sizeof(T));
        auto sum = hn::Mul(LoadSamples<T>(at), hn::Set(d, rows.firstWeight));
        if (rows.count > 1) {
            auto inner = hn::Zero(d);
            for (std::int64_t row = 1; row < rows.count - 1; ++row)
                inner = hn::Add(inner, LoadSamples<T>(at + row * rows.stride));
            sum = hn::MulAdd(inner, hn::Set(d, rows.inner), sum);
            sum = hn::MulAdd(LoadSamples<T>(at + (last - rows.first)), hn::Set(d, rows.lastWeight), sum);
        }
        hn::StoreU(sum, d, sums + x);
    }
    for (; x < samples; ++x) {
        double sum = loadSample<T>(rows.first, x) * rows.firstWeight;
        for (std::int64_t row = 1; row < rows.count - 1; ++row)
            sum += loadSample<T>(rows.first + row * rows.stride, x) * rows.inner;
        if (rows.count > 1)
            sum += loadSample<T>(last, x) * rows.lastWeight;
        sums[x] = sum;
    }
}

template <class T>
void Along(const double* sums, const ResizePlan& plan, std::uint8_t* dst, double half, double scale) noexcept
{
    const D d;
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> dt;
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(d));
    for (const ResizeGroup& group : plan.groups) {
        const auto indices = hn::SetTableIndices(d, group.lanes);
        const auto tap = [&](std::int64_t t) HWY_ATTR {
            return hn::TableLookupLanes(hn::LoadU(d, sums + group.from + t * plan.channels), indices);
        };
        auto sum = hn::MulAdd(tap(0), hn::Load(d, group.weights[0]), hn::Set(d, half));
        std::int64_t t = 1;
        if (plan.innerCount != 0) {
            auto inner = hn::Zero(d);
            for (; t <= plan.innerCount; ++t)
                inner = hn::Add(inner, tap(t));
            sum = hn::MulAdd(inner, hn::Set(d, plan.inner), sum);
        }
        for (std::int64_t end = 1; end <= plan.endCount; ++end, ++t)
            sum = hn::MulAdd(tap(t), hn::Load(d, group.weights[end]), sum);
        const auto results = hn::DemoteTo(dt, hn::DemoteTo(d32, hn::Mul(sum, hn::Set(d, scale))));
        std::uint8_t* const at = dst + group.to * static_cast<std::int64_t>(sizeof(T));
        // What a group writes behind its own results, the next one writes again.
        if (group.to + lanes <= plan.samples) {
            hn::StoreU(results, dt, reinterpret_cast<T*>(at));
        } else {
            T rest[hn::MaxLanes(d)];
            hn::StoreU(results, dt, rest);
            std::memcpy(at, rest, static_cast<std::size_t>(plan.samples - group.to) * sizeof(T));
        }
    }
}

template <class T>
constexpr ResizePasses passes{&Across<T>, &Along<T>, hn::MaxLanes(D{})};

const ResizeKernels& Kernels()
{
    static constexpr ResizeKernels kernels{passes<std::uint8_t>, passes<std::uint16_t>};
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
