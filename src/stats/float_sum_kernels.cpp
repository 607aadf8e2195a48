#include "stats/float_sum_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/float_sum_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

void AddRest(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t from, std::int64_t width,
             FloatSum& sums) noexcept
{
    for (std::int64_t x = from; x < width; ++x) {
        if (mask[x] == 0)
            continue;
        const auto sample = loadSample<float>(row, x);
        const std::uint32_t magnitude = std::bit_cast<std::uint32_t>(sample) & 0x7FFFFFFFU;
        sums.sum += static_cast<double>(sample);
        ++sums.count;
        sums.highest = std::max(sums.highest, magnitude);
        sums.lowest = std::min(sums.lowest, magnitude - 1U);
    }
}

#if HWY_TARGET == HWY_SCALAR

FloatSum SumRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width) noexcept
{
    FloatSum sums;
    AddRest(row, mask, 0, width, sums);
    return sums;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

FloatSum SumRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width) noexcept
{
    const hn::ScalableTag<double> wide;
    const hn::Rebind<float, decltype(wide)> floats;
    const hn::Rebind<std::uint32_t, decltype(wide)> bits;
    const hn::Rebind<std::uint8_t, decltype(wide)> bytes;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(wide));
    FloatSum sums;
    auto even = hn::Zero(wide), odd = even;
    auto highest = hn::Zero(bits), lowest = hn::Set(bits, ~0U);
    const auto selected = [&](std::int64_t x) HWY_ATTR {
        const auto mark = hn::Ne(hn::PromoteTo(bits, hn::LoadU(bytes, mask + x)), hn::Zero(bits));
        sums.count += hn::CountTrue(bits, mark);
        const auto samples = hn::BitCast(bits, hn::LoadU(floats, reinterpret_cast<const float*>(row) + x));
        const auto taken = hn::IfThenElseZero(mark, samples);
        const auto magnitude = hn::And(taken, hn::Set(bits, 0x7FFFFFFFU));
        highest = hn::Max(highest, magnitude);
        lowest = hn::Min(lowest, hn::Sub(magnitude, hn::Set(bits, 1U)));
        return hn::PromoteTo(wide, hn::BitCast(floats, taken));
    };
    std::int64_t x = 0;
    for (; x + 2 * step <= width; x += 2 * step) {
        fetchAhead<float, false>(row + 4 * x, 2 * step);
        even = hn::Add(even, selected(x));
        odd = hn::Add(odd, selected(x + step));
    }
    sums.sum = hn::GetLane(hn::SumOfLanes(wide, hn::Add(even, odd)));
    sums.highest = hn::GetLane(hn::MaxOfLanes(bits, highest));
    sums.lowest = hn::GetLane(hn::MinOfLanes(bits, lowest));
    AddRest(row, mask, x, width, sums);
    return sums;
}

#endif

SumFloats Kernel()
{
    return &SumRow;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernel);
}
SumFloats sumFloats()
{
    return HWY_DYNAMIC_DISPATCH(Kernel)();
}
}  // namespace ko
#endif
