#include "median/pick_kernels.h"

#include <bit>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/pick_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Bit i tells whether places[i] is in the window with this corner. Where a place is before the corner, the
/// difference of its half is negative, which its highest bit tells; what it borrows from the upper half does
/// not matter then. Where it is behind the window, adding `room` sets the highest bit.
template <class Place>
HWY_INLINE std::uint32_t InWindow(const Place* places, Place corner, Place room) noexcept
{
    const hn::CappedTag<Place, medianPlaceChunk> d;
    constexpr std::size_t lanes = hn::MaxLanes(d);
    constexpr int half = 4 * sizeof(Place);
    const auto highest = hn::Set(d, static_cast<Place>(((Place{1} << half) | 1) << (half - 1)));
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < medianPlaceChunk; i += lanes) {
        const auto offset = hn::Sub(hn::LoadU(d, places + i), hn::Set(d, corner));
        const auto outside = hn::And(hn::Or(offset, hn::Add(offset, hn::Set(d, room))), highest);
        std::uint8_t packed[8] = {};
        hn::StoreMaskBits(d, hn::Eq(outside, hn::Zero(d)), packed);
        std::uint32_t part;
        std::memcpy(&part, packed, sizeof(part));
        bits |= part << i;
    }
    return bits;
}

/// Number of the set bit that has `rank` (from 1) among those of `bits`.
HWY_INLINE int BitOfRank(std::uint32_t bits, std::uint32_t rank) noexcept
{
#if HWY_TARGET == HWY_AVX3
    // Older processors have this instruction too, but some take hundreds of cycles for it.
    bits = _pdep_u32(std::uint32_t{1} << (rank - 1), bits);
#else
    for (; rank > 1; --rank)
        bits &= bits - 1;
#endif
    return std::countr_zero(bits);
}

template <class Count>
void Pick(const MedianWindowRow<std::uint16_t, Count>& row, const MedianPlaceOf<Count>* places, int shift,
          std::int64_t y, std::uint32_t* found) noexcept
{
    using Place = MedianPlaceOf<Count>;
    constexpr int half = 4 * sizeof(Place);
    constexpr Place both = (Place{1} << half) | 1;
    const auto largest = static_cast<Place>((Place{1} << (half - 1)) - static_cast<Place>(row.window));
    const auto room = static_cast<Place>(largest * both);
    for (std::int64_t x = 0; x < row.pixels; ++x) {
        const auto corner = static_cast<Place>((static_cast<Place>(y) << half) | static_cast<Place>(x));
        const Place* chunk = places + (std::int64_t{row.medians[x]} << shift);
        auto rank = static_cast<std::uint32_t>(row.ranks[x]);
        std::uint32_t bits = InWindow(chunk, corner, room);
        for (std::uint32_t present; (present = static_cast<std::uint32_t>(hwy::PopCount(bits))) < rank;) {
            rank -= present;
            chunk += medianPlaceChunk;
            bits = InWindow(chunk, corner, room);
        }
        found[x] = static_cast<std::uint32_t>(chunk - places + BitOfRank(bits, rank));
    }
}

MedianPick<std::uint8_t> Small()
{
    return &Pick<std::uint8_t>;
}
MedianPick<std::uint16_t> Large()
{
    return &Pick<std::uint16_t>;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Small);
HWY_EXPORT(Large);
}  // namespace

template <>
MedianPick<std::uint8_t> medianPick()
{
    return HWY_DYNAMIC_DISPATCH(Small)();
}
template <>
MedianPick<std::uint16_t> medianPick()
{
    return HWY_DYNAMIC_DISPATCH(Large)();
}
}  // namespace ko
#endif
