// Sorted lists of vectors, one vector for each rank. Include after <hwy/highway.h>; compiled once per
// processor target.
#if defined(KO_MEDIAN_SORTED_LISTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_SORTED_LISTS_INL_H
#undef KO_MEDIAN_SORTED_LISTS_INL_H
#else
#define KO_MEDIAN_SORTED_LISTS_INL_H
#endif

#include "median/sorting_networks-inl.h"

#include <array>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
constexpr std::int64_t lanesOf = hn::MaxLanes(hn::ScalableTag<T>());

/// The vector of each rank lies `kPitch` samples behind that of the rank before.
template <class T, int kCount, std::int64_t kPitch = lanesOf<T>>
struct List {
    const T* first = nullptr;
};

/// Memory of a list by itself. It begins at a whole vector, which the compiler makes better code of.
template <class T, int kCount>
struct Sorted {
    alignas(64) T samples[kCount * lanesOf<T>];
    operator List<T, kCount>() const noexcept { return {samples}; }
};

template <std::int64_t kPitch, class T>
HWY_INLINE auto LoadRank(const T* from) noexcept
{
    const hn::ScalableTag<T> d;
    if constexpr (kPitch == lanesOf<T>)
        return hn::Load(d, from);
    else
        return hn::LoadU(d, from);
}

template <class T, int kCount, std::int64_t kPitch, class V, std::size_t... kI>
HWY_INLINE void LoadRanks(List<T, kCount, kPitch> list, V* v, std::index_sequence<kI...>) noexcept
{
    ((v[kI] = LoadRank<kPitch>(list.first + kI * kPitch)), ...);
}

/// Writes ranks kFirst ... from where the network left them.
template <class Net, std::size_t kFirst, std::int64_t kPitch, class T, class V, std::size_t... kI>
HWY_INLINE void StoreRanks(const V* v, T* to, std::index_sequence<kI...>) noexcept
{
    const hn::ScalableTag<T> d;
    (hn::StoreU(v[Net::network.order.places[kFirst + kI]], d, to + kI * kPitch), ...);
}

/// Ranks kFirst ... kFirst + kCount - 1 of two lists together, every `kPitch` samples; whole vectors if
/// `kPitch` is 0.
template <int kFirst, int kCount, std::int64_t kPitch = 0, class T, int kA, std::int64_t kPitchA, int kB,
          std::int64_t kPitchB>
HWY_NOINLINE void Merge(List<T, kA, kPitchA> a, List<T, kB, kPitchB> b, T* to) noexcept
{
    using Net = Merging<kA, kB>;
    hn::Vec<hn::ScalableTag<T>> v[kA + kB];
    LoadRanks(a, v, std::make_index_sequence<kA>());
    LoadRanks(b, v + kA, std::make_index_sequence<kB>());
    Apply<Net>(v);
    StoreRanks<Net, kFirst, (kPitch == 0 ? lanesOf<T> : kPitch)>(v, to, std::make_index_sequence<kCount>());
}

/// Merges a list with one or two samples.
template <class T, int kCount, std::int64_t kPitch, std::size_t... kI>
HWY_NOINLINE void Extend(List<T, kCount, kPitch> list, const std::array<const T*, sizeof...(kI)>& added,
                         T* to, std::index_sequence<kI...>) noexcept
{
    constexpr int kAdded = sizeof...(kI);
    using Net = Merging<kCount, kAdded>;
    const hn::ScalableTag<T> d;
    hn::Vec<decltype(d)> v[kCount + kAdded];
    LoadRanks(list, v, std::make_index_sequence<kCount>());
    ((v[kCount + kI] = hn::LoadU(d, added[kI])), ...);
    Apply<Sorting<kAdded>>(v + kCount);
    Apply<Net>(v);
    StoreRanks<Net, 0, lanesOf<T>>(v, to, std::make_index_sequence<kCount + kAdded>());
}

/// The middle of two lists together: the smallest of the largest of i samples of the one and the others of
/// the other.
template <class T, int kCount, std::int64_t kPitch, std::size_t... kI>
HWY_NOINLINE void Select(List<T, kCount + 1> a, List<T, kCount, kPitch> b, T* to,
                         std::index_sequence<kI...>) noexcept
{
    const hn::ScalableTag<T> d;
    auto result = hn::Load(d, a.first + kCount * lanesOf<T>);
    ((result = hn::Min(result, hn::Max(hn::Load(d, a.first + kI * lanesOf<T>),
                                       LoadRank<kPitch>(b.first + (kCount - 1 - kI) * kPitch)))),
     ...);
    hn::Store(result, d, to);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
