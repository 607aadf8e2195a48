#include "filters/resize_longer_kernels.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resize_longer_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "filters/resize_rounding-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const ResizeLongerKernels& Kernels()
{
    static constexpr ResizeLongerKernels kernels{};
    return kernels;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Sum = hn::CappedTag<float, 16>;
using Whole = hn::RebindToSigned<Sum>;
constexpr auto sumLanes = static_cast<std::int64_t>(hn::MaxLanes(Sum{}));

/// a * b + c * d of words in pairs.
HWY_INLINE hn::Vec<Whole> SumsOfPairs(hn::Vec<Whole> words, hn::Vec<Whole> weights)
{
#if HWY_ARCH_X86
    const hn::RepartitionToNarrow<Whole> narrow;
    auto none = hn::Zero(Whole{});
    return hn::ReorderWidenMulAccumulate(Whole{}, hn::BitCast(narrow, words), hn::BitCast(narrow, weights),
                                         none, none);
#else
    const auto low = hn::Set(Whole{}, 0xFFFF);
    return hn::Add(hn::Mul(hn::And(words, low), hn::And(weights, low)),
                   hn::Mul(hn::ShiftRight<16>(words), hn::ShiftRight<16>(weights)));
#endif
}

void Along(const std::uint8_t* row, std::span<const ResizeLongerGroup> groups, float* sums) noexcept
{
    const Whole whole;
    const hn::RebindToUnsigned<Whole> bits;
    const hn::Repartition<std::uint8_t, Whole> bytes;
    const std::int64_t begin = groups.front().to;
    for (const ResizeLongerGroup& group : groups) {
        const auto window = hn::LoadDup128(bytes, row + group.from);
        const auto places = hn::BitCast(bytes, hn::Load(bits, group.taps));
        const auto taps = hn::BitCast(whole, hn::TableLookupBytesOr0(window, places));
        const auto weights = hn::BitCast(whole, hn::Load(bits, group.weights));
        hn::StoreU(hn::ConvertTo(Sum{}, SumsOfPairs(taps, weights)), Sum{}, sums + (group.to - begin));
    }
}

/// The results of a block in doubles, whose sums are exact.
HWY_INLINE void ExactBytes(const float* first, const float* second, float firstWeight, float secondWeight,
                           const ResizeScale& scale, std::uint8_t* results) noexcept
{
    constexpr std::size_t each = sumLanes > 1 ? sumLanes / 2 : 1;
    const hn::CappedTag<float, each> part;
    const hn::Rebind<double, decltype(part)> d;
    for (std::int64_t x = 0; x < 4 * sumLanes; x += each) {
        const auto a = hn::PromoteTo(d, hn::LoadU(part, first + x)),
                   b = hn::PromoteTo(d, hn::LoadU(part, second + x));
        const auto sum = hn::MulAdd(a, hn::Set(d, firstWeight),
                                    hn::MulAdd(b, hn::Set(d, secondWeight), hn::Set(d, scale.offset)));
        const hn::Rebind<std::uint8_t, decltype(d)> bytes;
        hn::StoreU(TruncatedTo<std::uint8_t>(d, hn::Mul(sum, hn::Set(d, scale.scale))), bytes, results + x);
    }
}

template <bool IsChecked>
void Across(const float* first, const float* second, float firstWeight, float secondWeight,
            const ResizeScale& scale, std::uint8_t* dst, std::int64_t samples) noexcept
{
    const Sum d;
    constexpr std::int64_t block = 4 * sumLanes;
    const auto weight = hn::Set(d, firstWeight), otherWeight = hn::Set(d, secondWeight),
               factor = hn::Set(d, static_cast<float>(scale.scale)),
               certain = hn::Set(d, static_cast<float>(scale.certain)),
               offset = hn::Set(d, IsChecked ? 0.0F : nearestOffset);
    for (std::int64_t x = 0; x < samples; x += block) {
        const bool isWhole = samples - x >= block;
        std::uint8_t rest[block];
        std::uint8_t* const results = isWhole ? dst + x : rest;
        auto farthest = hn::Zero(d);
        for (std::int64_t i = 0; i < block; i += sumLanes) {
            const auto sums = hn::MulAdd(hn::LoadU(d, second + x + i), otherWeight,
                                         hn::MulAdd(hn::LoadU(d, first + x + i), weight, offset));
            hn::StoreU(NearestBytes(d, sums, factor, farthest), hn::Rebind<std::uint8_t, Sum>(), results + i);
        }
        if (IsChecked && !hn::AllTrue(d, hn::Lt(farthest, certain)))
            ExactBytes(first + x, second + x, firstWeight, secondWeight, scale, results);
        if (!isWhole)
            std::memcpy(dst + x, rest, static_cast<std::size_t>(samples - x));
    }
}

const ResizeLongerKernels& Kernels()
{
    static constexpr ResizeLongerKernels kernels{&Along, &Across<false>, &Across<true>, sumLanes};
    return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const ResizeLongerKernels& resizeLongerKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
