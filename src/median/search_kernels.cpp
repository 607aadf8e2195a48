#include "median/search_kernels.h"

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/search_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Unsigned numbers widened to the signed lanes of `D`.
template <class D, class T>
HWY_INLINE hn::Vec<D> LoadWidened(D d, const T* from) noexcept
{
    const hn::Rebind<T, D> narrow;
    if constexpr (sizeof(T) == sizeof(hn::TFromD<D>))
        return hn::BitCast(d, hn::LoadU(narrow, from));
    else
        return hn::PromoteTo(d, hn::LoadU(narrow, from));
}

/// -1 for every code below the bound. One-byte lanes compare with an offset of 128, which wider ones that
/// hold the codes as they are do not need.
template <class D>
struct BelowBound {
    D d;
    hn::Vec<D> bound;
    static constexpr bool offset = sizeof(hn::TFromD<D>) == 1;

    BelowBound(D tag, int value)
        : d(tag), bound(hn::Set(tag, static_cast<hn::TFromD<D>>(offset ? value - 128 : value)))
    {
    }

    HWY_INLINE hn::Vec<D> operator()(const std::uint8_t* codes) const noexcept
    {
        auto code = LoadWidened(d, codes);
        if constexpr (offset)
            code = hn::Xor(code, hn::Set(d, static_cast<hn::TFromD<D>>(-128)));
        return hn::VecFromMask(d, hn::Lt(code, bound));
    }
};

template <class Count>
void CountBelow(const std::uint8_t* codes, std::int64_t samples, std::int64_t window, int bound,
                MedianRowCountOf<Count>* rowCounts) noexcept
{
    using Signed = std::make_signed_t<MedianRowCountOf<Count>>;
    const hn::ScalableTag<Signed> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const BelowBound<decltype(d)> below(d, bound);
    auto* const sums = reinterpret_cast<Signed*>(rowCounts);

    // The window is built from its binary digits, most significant first: sums of n samples become sums of 2n
    // or 2n + 1. Each step reads only sums to the right of those that it replaces.
    int digits = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(window))) - 2;
    std::int64_t length = window >> digits;
    for (std::int64_t i = 0; i < samples; i += lanes) {
        auto sum = hn::Add(below(codes + i), below(codes + i + 1));
        if (length == 3)
            sum = hn::Add(sum, below(codes + i + 2));
        hn::StoreU(hn::Neg(sum), d, sums + i);
    }
    while (digits-- > 0) {
        const bool odd = ((window >> digits) & 1) != 0;
        for (std::int64_t i = 0; i < samples; i += lanes) {
            auto sum = hn::Add(hn::LoadU(d, sums + i), hn::LoadU(d, sums + i + length));
            if (odd)
                sum = hn::Sub(sum, below(codes + i + 2 * length));
            hn::StoreU(sum, d, sums + i);
        }
        length = 2 * length + (odd ? 1 : 0);
    }
}

template <class Count, bool kRest>
MedianOutcome SplitWith(const MedianSplit<Count>& s) noexcept
{
    using Signed = std::make_signed_t<Count>;
    constexpr Signed lowest = std::numeric_limits<Signed>::min();
    const hn::ScalableTag<Signed> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto first = hn::Set(d, static_cast<Signed>(s.first));
    const auto upper = hn::Set(d, static_cast<Signed>(s.first + s.half));
    const auto wanted = hn::Set(d, static_cast<Signed>(s.wanted + lowest));
    auto stayed = hn::Zero(d), moved = hn::Zero(d);
    for (std::int64_t x = 0; x < s.columns; x += lanes) {
        auto count = hn::Set(d, lowest);
        const auto* entering = s.rowCounts + x;
        const auto* leaving = entering;
        for (std::int64_t y = 1; y < s.window; ++y, entering += s.pitch)
            count = hn::Add(count, LoadWidened(d, entering));
        auto* foundRow = reinterpret_cast<Signed*>(s.found) + x;
        auto* restRow = reinterpret_cast<Signed*>(s.rest) + (kRest ? x : 0);
        for (std::int64_t y = 0; y < s.rows; ++y) {
            count = hn::Add(count, LoadWidened(d, entering));
            const auto found = hn::LoadU(d, foundRow);
            const auto mine = hn::VecFromMask(d, hn::Eq(found, first));
            const auto up = hn::And(mine, hn::VecFromMask(d, hn::Lt(count, wanted)));
            const auto isUp = hn::MaskFromVec(up);
            hn::StoreU(hn::IfThenElse(isUp, upper, found), d, foundRow);
            if constexpr (kRest) {
                const auto rest = hn::LoadU(d, restRow);
                hn::StoreU(hn::IfThenElse(isUp, hn::Sub(wanted, count), rest), d, restRow);
                restRow += s.foundPitch;
            }
            moved = hn::Or(moved, up);
            stayed = hn::Or(stayed, hn::AndNot(up, mine));
            count = hn::Sub(count, LoadWidened(d, leaving));
            entering += s.pitch;
            leaving += s.pitch;
            foundRow += s.foundPitch;
        }
    }
    const auto isAny = [&](auto v) { return !hn::AllTrue(d, hn::Eq(v, hn::Zero(d))); };
    return {isAny(stayed), isAny(moved)};
}

template <class Count>
MedianOutcome Split(const MedianSplit<Count>& step) noexcept
{
    return step.rest != nullptr ? SplitWith<Count, true>(step) : SplitWith<Count, false>(step);
}

/// Bit i tells whether sample first + i of the order lies in the window, for 64 samples.
template <class Place>
HWY_INLINE std::uint64_t InWindow(const Place* xs, const Place* ys, Place left, Place top,
                                  Place span) noexcept
{
    const hn::ScalableTag<Place> d;
    constexpr std::size_t lanes = HWY_LANES(Place) < 64 ? HWY_LANES(Place) : 64;
    const auto l = hn::Set(d, left), t = hn::Set(d, top), s = hn::Set(d, span);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 64; i += lanes) {
        // The offset from the window's corner wraps to a large number for samples before it.
        const auto dx = hn::Sub(hn::LoadU(d, xs + i), l), dy = hn::Sub(hn::LoadU(d, ys + i), t);
        const auto offset = hn::Max(dx, dy);
        std::uint8_t packed[8] = {};
        hn::StoreMaskBits(d, hn::Eq(hn::Min(offset, s), offset), packed);
        std::uint64_t part;
        std::memcpy(&part, packed, sizeof(part));
        bits |= part << i;
    }
    return bits;
}

/// Number of the set bit that has `rank` (from 1) among those of `bits`.
HWY_INLINE std::uint64_t BitOfRank(std::uint64_t bits, std::uint64_t rank) noexcept
{
#if HWY_TARGET == HWY_AVX3
    // Older processors have this instruction too, but some take hundreds of cycles for it.
    bits = _pdep_u64(std::uint64_t{1} << (rank - 1), bits);
#else
    for (; rank > 1; --rank)
        bits &= bits - 1;
#endif
    return static_cast<std::uint64_t>(std::countr_zero(bits));
}

template <class Count, class Place>
void Pick(const MedianOrder<Place>& order, const Count* found, const Count* rest, std::int64_t columns,
          std::int64_t y, std::int64_t window, std::uint32_t* places) noexcept
{
    const Place top = static_cast<Place>(y), span = static_cast<Place>(window - 1);
    for (std::int64_t x = 0; x < columns; ++x) {
        const std::uint32_t start = order.starts[found[x]];
        // All chunks are looked at, so that nothing depends on where the sample turns up.
        std::uint64_t left = rest[x], chosenBits = 1, chosenRank = 1;
        std::uint32_t chosen = 0;
        for (std::uint32_t first = 0; first < static_cast<std::uint32_t>(order.chunks) * 64; first += 64) {
            const std::uint64_t bits = InWindow<Place>(order.x + start + first, order.y + start + first,
                                                       static_cast<Place>(x), top, span);
            const std::uint64_t present = hwy::PopCount(bits);
            const bool isHere = left - 1 < present;  // never once `left` is 0
            chosenBits = isHere ? bits : chosenBits;
            chosenRank = isHere ? left : chosenRank;
            chosen = isHere ? first : chosen;
            left = left > present ? left - present : 0;
        }
        places[x] = start + chosen + static_cast<std::uint32_t>(BitOfRank(chosenBits, chosenRank));
    }
}

template <class Count, class Place>
const MedianSearchKernels<Count, Place>& Kernels()
{
    static constexpr MedianSearchKernels<Count, Place> kernels{&CountBelow<Count>, &Split<Count>,
                                                               &Pick<Count, Place>};
    return kernels;
}

const MedianSearchKernels<std::uint16_t, std::uint8_t>& Kernels16()
{
    return Kernels<std::uint16_t, std::uint8_t>();
}
const MedianSearchKernels<std::uint16_t, std::uint16_t>& Kernels16Wide()
{
    return Kernels<std::uint16_t, std::uint16_t>();
}
const MedianSearchKernels<std::uint32_t, std::uint32_t>& Kernels32()
{
    return Kernels<std::uint32_t, std::uint32_t>();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels16);
HWY_EXPORT(Kernels16Wide);
HWY_EXPORT(Kernels32);
}  // namespace

template <>
const MedianSearchKernels<std::uint16_t, std::uint8_t>& medianSearchKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels16)();
}
template <>
const MedianSearchKernels<std::uint16_t, std::uint16_t>& medianSearchKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels16Wide)();
}
template <>
const MedianSearchKernels<std::uint32_t, std::uint32_t>& medianSearchKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels32)();
}
}  // namespace ko
#endif
