#include "filters/stretch_kernels.h"

#include "base/image_view.h"

#include <cstring>
#include <optional>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/stretch_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "filters/stretch_mix-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void AlongByTable(const std::uint8_t* src, std::uint8_t* dst, const StretchTable& table,
                  std::int64_t channels) noexcept
{
    for (std::int64_t x = 0; x < table.outputs(); ++x) {
        const std::span<const StretchTap> taps = table.taps(x);
        for (std::int64_t c = 0; c < channels; ++c) {
            std::uint32_t sum = 0;
            for (const StretchTap& tap : taps)
                sum += loadSample<T>(src, tap.index * channels + c) * static_cast<std::uint32_t>(tap.weight);
            storeSample<T>(dst, x * channels + c, static_cast<T>(sum >> 16));
        }
    }
}

template <class T>
void AcrossAny(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
               std::int64_t samples) noexcept
{
    for (std::int64_t x = 0; x < samples; ++x) {
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < taps.size(); ++i)
            sum += loadSample<T>(rows[i], x) * static_cast<std::uint32_t>(taps[i].weight);
        storeSample<T>(dst, x, static_cast<T>(sum >> 16));
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void Across(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
            std::int64_t samples) noexcept
{
    AcrossAny<T>(rows, taps, dst, samples);
}

template <class T>
constexpr StretchRows rows{&AlongByTable<T>, nullptr, nullptr, 0, &Across<T>};

#else

namespace hn = hwy::HWY_NAMESPACE;

/// sum + a * b over pairs of neighbouring lanes.
template <class D32, class V16>
hn::Vec<D32> AddPairs(D32 d32, V16 a, V16 b, hn::Vec<D32> sum)
{
    // The order of the products in both registers is the processor's own until they are rearranged, so a sum that is
    // in order may only be added afterwards.
    hn::Vec<D32> rest = hn::Zero(d32);
    const auto products = hn::ReorderWidenMulAccumulate(d32, a, b, hn::Zero(d32), rest);
    return hn::Add(sum, hn::RearrangeToOddPlusEven(products, rest));
}

/// Both weights of a pair of taps, alternating.
template <class D16>
hn::Vec<D16> PairOfWeights(D16 d16, const StretchTap* taps)
{
    const hn::RepartitionToWide<D16> d32;
    return hn::BitCast(d16, hn::Set(d32, taps[0].weight | (taps[1].weight << 16)));
}

template <class T>
void AcrossTwo(const std::uint8_t* nearer, const std::uint8_t* farther, std::int16_t minusShare,
               std::uint8_t* dst, std::int64_t x)
{
    const hn::ScalableTag<std::int16_t> d16;
    const std::int64_t at = x * static_cast<std::int64_t>(sizeof(T));
    StoreSigned(d16,
                Mix(d16, LoadSigned(d16, nearer + at, T{}), LoadSigned(d16, farther + at, T{}),
                    hn::Set(d16, minusShare), T{}),
                dst + at, T{});
}

template <class T>
void AcrossMany(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
                std::int64_t x)
{
    const hn::ScalableTag<std::int16_t> d16;
    const hn::RepartitionToWide<decltype(d16)> d32;
    const std::int64_t at = x * static_cast<std::int64_t>(sizeof(T));
    auto lower = hn::Zero(d32), upper = hn::Zero(d32);
    for (std::size_t i = 0; i < taps.size(); i += 2) {
        const auto weights = PairOfWeights(d16, &taps[i]);
        const auto a = LoadSigned(d16, rows[i] + at, T{});
        const auto b = LoadSigned(d16, rows[i + 1] + at, T{});
        lower = AddPairs(d32, hn::InterleaveLower(d16, a, b), weights, lower);
        upper = AddPairs(d32, hn::InterleaveUpper(d16, a, b), weights, upper);
    }
    const auto sums = hn::ReorderDemote2To(d16, hn::ShiftRight<16>(lower), hn::ShiftRight<16>(upper));
    StoreSigned(d16, sums, dst + at, T{});
}

template <class T>
void Across(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
            std::int64_t samples) noexcept
{
    const auto step = static_cast<std::int64_t>(hn::Lanes(hn::ScalableTag<std::int16_t>{}));
    const std::optional<StretchTwo> two = twoOf(taps);
    const auto addTwo = [&](std::int64_t x) HWY_ATTR {
        AcrossTwo<T>(rows[two->nearer], rows[two->farther], two->minusShare, dst, x);
    };
    const auto addMany = [&](std::int64_t x) HWY_ATTR { AcrossMany<T>(rows, taps, dst, x); };
    const bool done = two ? InBlocks(0, samples, step, addTwo) : InBlocks(0, samples, step, addMany);
    if (!done)
        AcrossAny<T>(rows, taps, dst, samples);
}

/// The windows of as many groups as the vector holds, one after the other.
template <class D8>
hn::Vec<D8> LoadWindows(D8 d8, const std::uint8_t* src, const std::int64_t* windows)
{
    if constexpr (hn::MaxLanes(d8) == 16) {
        return hn::LoadU(d8, src + windows[0]);
    } else {
        const hn::Half<D8> half;
        return hn::Combine(d8, LoadWindows(half, src, windows + hn::MaxLanes(half) / 16),
                           LoadWindows(half, src, windows));
    }
}

template <class D32, class T>
void StoreSums(D32 d32, hn::Vec<D32> sums, T* dst)
{
    const hn::Rebind<T, D32> dt;
    if constexpr (sizeof(T) == 2)
        hn::StoreU(hn::DemoteTo(dt, hn::Add(sums, hn::Set(d32, 0x8000))), dt, dst);
    else
        hn::StoreU(hn::DemoteTo(dt, sums), dt, dst);
}

/// sum + the weighted samples of one step, for as many lanes as D32 holds, from `lane` on.
template <class T, class D32, class V8>
hn::Vec<D32> AddStep(D32 d32, V8 window, const StretchGatherStep& step, std::size_t lane, hn::Vec<D32> sum)
{
    const hn::Repartition<std::int16_t, D32> d16;
    const hn::Repartition<std::uint8_t, D32> d8;
    const auto bytes = hn::TableLookupBytesOr0(window, hn::Load(d8, step.shuffle + 4 * lane));
    auto samples = hn::BitCast(d16, bytes);
    if constexpr (sizeof(T) == 2)
        samples = Centred(d16, hn::BitCast(hn::RebindToUnsigned<decltype(d16)>{}, bytes));
    return AddPairs(d32, samples, hn::Load(d16, step.weights + 2 * lane), sum);
}

/// Stores the samples of the sums' groups one behind the other and returns where the next ones go.
template <class T, class D32>
std::uint8_t* StoreGroups(D32 d32, hn::Vec<D32> sums, int samplesPerGroup, std::uint8_t* dst)
{
    constexpr std::size_t lanes = hn::MaxLanes(d32);
    if (samplesPerGroup == 4) {
        StoreSums(d32, hn::ShiftRight<16>(sums), reinterpret_cast<T*>(dst));
        return dst + lanes * sizeof(T);
    }
    T samples[lanes];
    StoreSums(d32, hn::ShiftRight<16>(sums), samples);
    for (std::size_t group = 0; group < lanes; group += 4, dst += samplesPerGroup * sizeof(T))
        std::memcpy(dst, samples + group, 4 * sizeof(T));
    return dst;
}

template <class T, bool OneWindow>
void GatherRows(const std::uint8_t* src0, const std::uint8_t* src1, std::uint8_t* dst0, std::uint8_t* dst1,
                const StretchGather& gather) noexcept
{
    const hn::CappedTag<std::int32_t, StretchGather::lanes> d32;
    const hn::Repartition<std::uint8_t, decltype(d32)> d8;
    const StretchGatherStep* steps = gather.steps.data();
    for (std::int64_t block = 0; block < gather.blocks; ++block, steps += gather.pairs) {
        for (std::size_t lane = 0; lane < StretchGather::lanes; lane += hn::MaxLanes(d32)) {
            auto window0 = LoadWindows(d8, src0, steps->window + lane / 4);
            auto window1 = LoadWindows(d8, src1, steps->window + lane / 4);
            auto sums0 = AddStep<T>(d32, window0, *steps, lane, hn::Zero(d32));
            auto sums1 = AddStep<T>(d32, window1, *steps, lane, hn::Zero(d32));
            for (std::int64_t pair = 1; pair < gather.pairs; ++pair) {
                if constexpr (!OneWindow) {
                    window0 = LoadWindows(d8, src0, steps[pair].window + lane / 4);
                    window1 = LoadWindows(d8, src1, steps[pair].window + lane / 4);
                }
                sums0 = AddStep<T>(d32, window0, steps[pair], lane, sums0);
                sums1 = AddStep<T>(d32, window1, steps[pair], lane, sums1);
            }
            dst0 = StoreGroups<T>(d32, sums0, gather.samplesPerGroup, dst0);
            dst1 = StoreGroups<T>(d32, sums1, gather.samplesPerGroup, dst1);
        }
    }
}

template <class T>
void AlongByGather(const std::uint8_t* src0, const std::uint8_t* src1, std::uint8_t* dst0, std::uint8_t* dst1,
                   const StretchGather& gather) noexcept
{
    if (gather.oneWindow)
        GatherRows<T, true>(src0, src1, dst0, dst1, gather);
    else
        GatherRows<T, false>(src0, src1, dst0, dst1, gather);
}

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

/// Vectors from which this processor takes any lanes in one step.
using LanesBetween = hn::CappedTag<std::int16_t, StretchBetweenGroup::mostLanes>;
using Places = hn::Vec<LanesBetween>;

Places LoadPlaces(LanesBetween d16, const std::int16_t* places)
{
    return hn::Load(d16, places);
}

hn::Vec<LanesBetween> TakeLanes(hn::Vec<LanesBetween> v, Places places)
{
    return hn::Vec<LanesBetween>{_mm512_permutexvar_epi16(places.raw, v.raw)};
}

#else

using LanesBetween = hn::CappedTag<std::int16_t, 8>;
using Places = hn::Vec<hn::Repartition<std::uint8_t, LanesBetween>>;

/// Both bytes of each lane.
Places LoadPlaces(LanesBetween d16, const std::int16_t* places)
{
    const auto lower = hn::Mul(hn::Load(d16, places), hn::Set(d16, 0x0202));
    return hn::BitCast(hn::Repartition<std::uint8_t, LanesBetween>(), hn::Add(lower, hn::Set(d16, 0x0100)));
}

hn::Vec<LanesBetween> TakeLanes(hn::Vec<LanesBetween> v, Places places)
{
    return hn::BitCast(LanesBetween(), hn::TableLookupBytes(v, places));
}

#endif

template <class T>
void AlongBetween(const std::uint8_t* src0, const std::uint8_t* src1, std::uint8_t* dst0, std::uint8_t* dst1,
                  const StretchBetween& between) noexcept
{
    const LanesBetween d16;
    constexpr std::int64_t size = sizeof(T);
    for (const StretchBetweenGroup& group : between.groups) {
        const auto nearer = LoadPlaces(d16, group.nearer);
        const auto farther = LoadPlaces(d16, group.farther);
        const auto minusShares = hn::Load(d16, group.minusShares);
        const auto mix = [&](const std::uint8_t* src, std::uint8_t* dst) HWY_ATTR {
            const auto samples = LoadSigned(d16, src + group.from * size, T{});
            // What a group writes behind its own results, the next one writes again.
            StoreSigned(d16,
                        Mix(d16, TakeLanes(samples, nearer), TakeLanes(samples, farther), minusShares, T{}),
                        dst + group.to * size, T{});
        };
        mix(src0, dst0);
        mix(src1, dst1);
    }
}

template <class T>
constexpr StretchRows rows{&AlongByTable<T>, &AlongByGather<T>, &AlongBetween<T>,
                           static_cast<std::int64_t>(hn::MaxLanes(LanesBetween{})), &Across<T>};

#endif

const StretchKernels& Kernels()
{
    static constexpr StretchKernels kernels{rows<std::uint8_t>, rows<std::uint16_t>};
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
const StretchKernels& stretchKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
