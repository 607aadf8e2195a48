#include "stats/moment_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/moment_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "stats/selected-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void AddSamples(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t from, std::int64_t width,
                MaskedSum& sum) noexcept
{
    for (std::int64_t x = from; x < width; ++x) {
        if (mask[x] == 0)
            continue;
        const std::int64_t sample = loadSample<T>(row, x) + momentBias<T>;
        ++sum.count;
        sum.sum += static_cast<std::uint64_t>(sample);
        sum.highest = std::max(sum.highest, sample);
    }
}

/// Adds to an accumulator that starts at the anchor and so rounds every square as asked.
template <class T>
double AddSquares(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t from, std::int64_t width,
                  double mean, double accumulator) noexcept
{
    for (std::int64_t x = from; x < width; ++x) {
        if (mask[x] == 0)
            continue;
        const double distance = static_cast<double>(loadSample<T>(row, x)) - mean;
        accumulator += distance * distance;
    }
    return accumulator;
}

template <class T>
bool HasTies(std::int64_t highest, double mean, double anchor) noexcept
{
    const double half = anchor * 0x1p-53;
    const auto last = static_cast<std::int32_t>(highest);
    int ties = 0;
    for (std::int32_t raised = 0; raised <= last; ++raised) {
        const double distance = static_cast<double>(raised - static_cast<std::int32_t>(momentBias<T>)) - mean;
        const double square = distance * distance;
        const double error = square - ((anchor + square) - anchor);
        ties |= error == half || error == -half ? 1 : 0;
    }
    return ties != 0;
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void SumRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, MaskedSum& sum) noexcept
{
    AddSamples<T>(row, mask, 0, width, sum);
}

template <class T>
double SquaresRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, double mean,
                  double anchor) noexcept
{
    return AddSquares<T>(row, mask, 0, width, mean, anchor) - anchor;
}

#else

template <class T>
using Tag = hn::ScalableTag<std::make_unsigned_t<T>>;
using Byte = hn::ScalableTag<std::uint8_t>;
using Total = hn::ScalableTag<std::uint64_t>;
using Real = hn::ScalableTag<double>;

template <class V>
std::int64_t HighestOf(V samples) noexcept
{
    const hn::DFromV<V> d;
    std::array<hn::TFromV<V>, HWY_MAX_BYTES / sizeof(hn::TFromV<V>)> lanes{};
    hn::StoreU(samples, d, lanes.data());
    // In this form the compiler folds vectors; it takes the lanes of std::max_element one by one.
    hn::TFromV<V> highest = 0;
    for (const hn::TFromV<V> lane : lanes)
        highest = std::max(highest, lane);
    return highest;
}

/// Words are summed as bytes: all of them, and the low ones, which leaves the high ones.
template <class T>
void SumRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, MaskedSum& sum) noexcept
{
    using U = std::make_unsigned_t<T>;
    const Tag<T> d;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(Tag<T>{}));
    auto all = hn::Zero(Total{}), low = hn::Zero(Total{});
    auto highest = hn::Zero(d);
    std::uint64_t count = 0;
    std::int64_t at = 0;
    for (; at + step <= width; at += step) {
        fetchAhead<T, false>(row + at * std::int64_t{sizeof(T)}, step);
        fetchAhead<std::uint8_t, false>(mask + at, step);
        const auto samples = Selected<U>(row, mask, at, static_cast<U>(momentBias<T>), count);
        highest = hn::Max(highest, samples);
        all = hn::Add(all, hn::SumsOf8(hn::BitCast(Byte{}, samples)));
        if constexpr (sizeof(T) == 2)
            low = hn::Add(low, hn::SumsOf8(hn::BitCast(Byte{}, hn::And(samples, hn::Set(d, 0xFF)))));
    }
    const std::uint64_t bytes = hn::GetLane(hn::SumOfLanes(Total{}, all));
    const std::uint64_t lowBytes = hn::GetLane(hn::SumOfLanes(Total{}, low));
    sum.count += count;
    sum.sum += sizeof(T) == 1 ? bytes : ((bytes - lowBytes) << 8) + lowBytes;
    sum.highest = std::max(sum.highest, HighestOf(highest));
    AddSamples<T>(row, mask, at, width, sum);
}

using RealVector = hn::Vec<Real>;
constexpr auto realLanes = static_cast<std::int64_t>(hn::MaxLanes(Real{}));

/// The squared distances of one vector of samples.
template <class T>
HWY_INLINE RealVector SquaresOf(const std::uint8_t* row, std::int64_t at, RealVector mean) noexcept
{
    const auto samples = hn::LoadU(hn::Rebind<T, Real>{}, reinterpret_cast<const T*>(row) + at);
    const auto whole = hn::PromoteTo(hn::Rebind<std::int32_t, Real>{}, samples);
    const RealVector distance = hn::Sub(hn::PromoteTo(Real{}, whole), mean);
    return hn::Mul(distance, distance);
}

/// The same, 0 for samples that are not selected.
template <class T>
HWY_INLINE RealVector SelectedSquares(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t at,
                                      RealVector mean) noexcept
{
    const hn::Rebind<std::uint64_t, Real> bits;
    const auto marks = hn::LoadU(hn::Rebind<std::uint8_t, Real>{}, mask + at);
    const auto wide = hn::PromoteTo(bits, hn::PromoteTo(hn::Rebind<std::uint32_t, Real>{}, marks));
    const auto selected = hn::RebindMask(Real{}, hn::Ne(wide, hn::Zero(bits)));
    return hn::IfThenElseZero(selected, SquaresOf<T>(row, at, mean));
}

/// Masks are mostly alike over a vector of bytes, which then need no selecting one by one.
template <class T>
double SquaresRow(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, double mean,
                  double anchor) noexcept
{
    const Real d;
    const Byte bytes;
    const auto centre = hn::Set(d, mean), start = hn::Set(d, anchor);
    auto even = start, odd = start;
    constexpr std::int64_t block = 8 * realLanes;
    std::int64_t at = 0;
    for (; at + block <= width; at += block) {
        fetchAhead<T, false>(row + at * std::int64_t{sizeof(T)}, block);
        const auto unselected = hn::Eq(hn::LoadU(bytes, mask + at), hn::Zero(bytes));
        if (hn::AllFalse(bytes, unselected)) {
            for (std::int64_t x = at; x < at + block; x += 2 * realLanes) {
                even = hn::Add(even, SquaresOf<T>(row, x, centre));
                odd = hn::Add(odd, SquaresOf<T>(row, x + realLanes, centre));
            }
        } else if (!hn::AllTrue(bytes, unselected)) {
            for (std::int64_t x = at; x < at + block; x += 2 * realLanes) {
                even = hn::Add(even, SelectedSquares<T>(row, mask, x, centre));
                odd = hn::Add(odd, SelectedSquares<T>(row, mask, x + realLanes, centre));
            }
        }
    }
    for (; at + realLanes <= width; at += realLanes)
        even = hn::Add(even, SelectedSquares<T>(row, mask, at, centre));
    const auto sums = hn::Add(hn::Sub(even, start), hn::Sub(odd, start));
    return hn::GetLane(hn::SumOfLanes(d, sums)) +
           (AddSquares<T>(row, mask, at, width, mean, anchor) - anchor);
}

#endif

template <class T>
constexpr MomentRows rowsOf{&SumRow<T>, &SquaresRow<T>, &HasTies<T>};

const MomentKernels& Kernels()
{
    static constexpr MomentKernels kernels{rowsOf<std::int8_t>, rowsOf<std::uint8_t>, rowsOf<std::int16_t>,
                                           rowsOf<std::uint16_t>};
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
const MomentKernels& momentKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
