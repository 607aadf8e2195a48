#include "filters/stretch_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/stretch_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

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
void AcrossFrom(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
                std::int64_t from, std::int64_t to) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
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
    AcrossFrom<T>(rows, taps, dst, 0, samples);
}

template <class T>
constexpr StretchRows rows{&AlongByTable<T>, nullptr, &Across<T>};

#else

namespace hn = hwy::HWY_NAMESPACE;

// 16-bit samples are made signed by moving them down by half their range. The weights sum to 65536, so the
// weighted sums move by exactly 2^31, and the half range comes back after the shift.
template <class D16>
hn::Vec<D16> Centred(D16 d16, hn::Vec<hn::RebindToUnsigned<D16>> v)
{
    const hn::RebindToUnsigned<D16> du16;
    return hn::BitCast(d16, hn::Xor(v, hn::Set(du16, 0x8000)));
}

template <class D16>
hn::Vec<D16> LoadSigned(D16 d16, const std::uint8_t* src, std::uint8_t)
{
    return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<std::uint8_t, D16>{}, src));
}

template <class D16>
hn::Vec<D16> LoadSigned(D16 d16, const std::uint8_t* src, std::uint16_t)
{
    return Centred(d16, hn::LoadU(hn::RebindToUnsigned<D16>{}, reinterpret_cast<const std::uint16_t*>(src)));
}

template <class D16>
void StoreSigned(D16 d16, hn::Vec<D16> v, std::uint8_t* dst, std::uint8_t)
{
    const hn::Rebind<std::uint8_t, D16> d8;
    hn::StoreU(hn::DemoteTo(d8, v), d8, dst);
}

template <class D16>
void StoreSigned(D16 d16, hn::Vec<D16> v, std::uint8_t* dst, std::uint16_t)
{
    const hn::RebindToUnsigned<D16> du16;
    hn::StoreU(hn::BitCast(du16, Centred(d16, hn::BitCast(du16, v))), du16,
               reinterpret_cast<std::uint16_t*>(dst));
}

/// sum + a * b over pairs of neighbouring lanes.
template <class D32, class V16>
hn::Vec<D32> AddPairs(D32 d32, V16 a, V16 b, hn::Vec<D32> sum)
{
    hn::Vec<D32> rest = hn::Zero(d32);
    sum = hn::ReorderWidenMulAccumulate(d32, a, b, sum, rest);
    return hn::RearrangeToOddPlusEven(sum, rest);
}

/// Both weights of a pair of taps, alternating.
template <class D16>
hn::Vec<D16> PairOfWeights(D16 d16, const StretchTap* taps)
{
    const hn::RepartitionToWide<D16> d32;
    return hn::BitCast(d16, hn::Set(d32, taps[0].weight | (taps[1].weight << 16)));
}

template <class T>
void Across(const std::uint8_t* const* rows, std::span<const StretchTap> taps, std::uint8_t* dst,
            std::int64_t samples) noexcept
{
    const hn::ScalableTag<std::int16_t> d16;
    const hn::RepartitionToWide<decltype(d16)> d32;
    const auto step = static_cast<std::int64_t>(hn::Lanes(d16));
    const auto block = [&](std::int64_t x) HWY_ATTR {
        auto lower = hn::Zero(d32), upper = hn::Zero(d32);
        const auto at = x * static_cast<std::int64_t>(sizeof(T));
        for (std::size_t i = 0; i < taps.size(); i += 2) {
            const auto weights = PairOfWeights(d16, &taps[i]);
            const auto a = LoadSigned(d16, rows[i] + at, T{});
            const auto b = LoadSigned(d16, rows[i + 1] + at, T{});
            lower = AddPairs(d32, hn::InterleaveLower(d16, a, b), weights, lower);
            upper = AddPairs(d32, hn::InterleaveUpper(d16, a, b), weights, upper);
        }
        const auto sums = hn::ReorderDemote2To(d16, hn::ShiftRight<16>(lower), hn::ShiftRight<16>(upper));
        StoreSigned(d16, sums, dst + at, T{});
    };
    if (samples < step) {
        AcrossFrom<T>(rows, taps, dst, 0, samples);
        return;
    }
    std::int64_t x = 0;
    for (; x + step <= samples; x += step)
        block(x);
    if (x < samples)
        block(samples - step);
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

template <class T>
void AlongByGather(const std::uint8_t* src, std::uint8_t* dst, const StretchGather& gather) noexcept
{
    const hn::CappedTag<std::int32_t, StretchGather::lanes> d32;
    const hn::Repartition<std::int16_t, decltype(d32)> d16;
    const hn::Repartition<std::uint8_t, decltype(d32)> d8;
    constexpr std::size_t lanes = hn::MaxLanes(d32);
    const StretchGatherStep* steps = gather.steps.data();
    for (std::int64_t block = 0; block < gather.blocks; ++block, steps += gather.pairs) {
        T sums[StretchGather::lanes];
        for (std::size_t lane = 0; lane < StretchGather::lanes; lane += lanes) {
            auto sum = hn::Zero(d32);
            for (std::int64_t pair = 0; pair < gather.pairs; ++pair) {
                const StretchGatherStep& step = steps[pair];
                const auto window = LoadWindows(d8, src, step.window + lane / 4);
                const auto bytes = hn::TableLookupBytesOr0(window, hn::LoadU(d8, step.shuffle + 4 * lane));
                auto samples = hn::BitCast(d16, bytes);
                if constexpr (sizeof(T) == 2)
                    samples = Centred(d16, hn::BitCast(hn::RebindToUnsigned<decltype(d16)>{}, bytes));
                sum = AddPairs(d32, samples, hn::LoadU(d16, step.weights + 2 * lane), sum);
            }
            StoreSums(d32, hn::ShiftRight<16>(sum), sums + lane);
        }
        const auto bytes = static_cast<std::int64_t>(sizeof(T)) * gather.samplesPerGroup;
        for (int group = 0; group < StretchGather::groups; ++group, dst += bytes)
            std::memcpy(dst, sums + 4 * group, 4 * sizeof(T));
    }
}

template <class T>
constexpr StretchRows rows{&AlongByTable<T>, &AlongByGather<T>, &Across<T>};

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
