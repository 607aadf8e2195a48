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

/// Merges a list with two samples.
template <class T, int kCount, std::int64_t kPitch>
HWY_NOINLINE void Extend(List<T, kCount, kPitch> list, const std::array<const T*, 2>& added, T* to) noexcept
{
    using Net = Merging<kCount, 2>;
    const hn::ScalableTag<T> d;
    hn::Vec<decltype(d)> v[kCount + 2];
    LoadRanks(list, v, std::make_index_sequence<kCount>());
    v[kCount] = hn::LoadU(d, added[0]);
    v[kCount + 1] = hn::LoadU(d, added[1]);
    Apply<Sorting<2>>(v + kCount);
    Apply<Net>(v);
    StoreRanks<Net, 0, lanesOf<T>>(v, to, std::make_index_sequence<kCount + 2>());
}

/// The middle of ranks kFirst ... kFirst + kCount + 1 of a merged sequence, a list and one sample together: the
/// smallest of the largest of i values of the one and the others of the other. The sample takes its place in
/// the list on the way.
template <class Net, int kFirst, class V, class T, int kCount, std::int64_t kPitch, std::size_t... kI>
HWY_INLINE V SelectMiddle(const V* merged, List<T, kCount, kPitch> list, V sample,
                          std::index_sequence<kI...>) noexcept
{
    const auto rank = [merged](int i) { return merged[Net::network.order.places[kFirst + i]]; };
    V below = LoadRank<kPitch>(list.first);
    V result = hn::Min(rank(kCount + 1), hn::Max(rank(kCount), hn::Min(below, sample)));
    const auto next = [&](int i) {
        const V value = LoadRank<kPitch>(list.first + i * kPitch);
        const V placed = hn::Max(below, hn::Min(value, sample));
        result = hn::Min(result, hn::Max(rank(kCount - i), placed));
        below = value;
    };
    (next(kI + 1), ...);
    return hn::Min(result, hn::Max(rank(0), hn::Max(below, sample)));
}

/// Merges what two windows share, and finds the medians of both: each has a list and a sample beside that.
template <int kFirst, class T, int kA, std::int64_t kPitchA, int kB, std::int64_t kPitchB, int kCount,
          std::int64_t kPitch>
HWY_NOINLINE void SelectTwo(List<T, kA, kPitchA> a, List<T, kB, kPitchB> b,
                            const std::array<List<T, kCount, kPitch>, 2>& lists,
                            const std::array<const T*, 2>& samples, const std::array<T*, 2>& to) noexcept
{
    using Net = Merging<kA, kB>;
    const hn::ScalableTag<T> d;
    hn::Vec<decltype(d)> v[kA + kB];
    LoadRanks(a, v, std::make_index_sequence<kA>());
    LoadRanks(b, v + kA, std::make_index_sequence<kB>());
    Apply<Net>(v);
    for (std::size_t i = 0; i < 2; ++i)
        hn::Store(SelectMiddle<Net, kFirst>(v, lists[i], hn::LoadU(d, samples[i]),
                                            std::make_index_sequence<kCount - 1>()),
                  d, to[i]);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
