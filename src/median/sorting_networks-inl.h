// Applying sorting networks to vectors. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_MEDIAN_SORTING_NETWORKS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_SORTING_NETWORKS_INL_H
#undef KO_MEDIAN_SORTING_NETWORKS_INL_H
#else
#define KO_MEDIAN_SORTING_NETWORKS_INL_H
#endif

#include "median/sorting_networks.h"

#include <cstddef>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <int kCount>
struct Sorting {
    static constexpr SortingNetwork network = sortingNetwork(kCount);
};
template <int kA, int kB>
struct Merging {
    static constexpr SortingNetwork network = mergingNetwork(kA, kB);
};

template <class V>
HWY_INLINE void Exchange(V& low, V& high) noexcept
{
    namespace hn = hwy::HWY_NAMESPACE;
    const V smaller = hn::Min(low, high);
    high = hn::Max(low, high);
    low = smaller;
}

/// The same by a comparison and two choices.
template <class V>
HWY_INLINE void ExchangeByMask(V& low, V& high) noexcept
{
    namespace hn = hwy::HWY_NAMESPACE;
    const auto isSorted = hn::Lt(low, high);
    const V smaller = hn::IfThenElse(isSorted, low, high);
    high = hn::IfThenElse(isSorted, high, low);
    low = smaller;
}

template <class Net, bool kShares, std::size_t kIndex, class V>
HWY_INLINE void ApplyOne(V* v) noexcept
{
    constexpr auto comparator = Net::network.comparators[kIndex];
    if constexpr (kShares && kIndex % 5 % 2 == 1)
        ExchangeByMask(v[comparator.low], v[comparator.high]);
    else
        Exchange(v[comparator.low], v[comparator.high]);
}

template <class Net, bool kShares, std::size_t kFirst, class V, std::size_t... kI>
HWY_INLINE void ApplyPart([[maybe_unused]] V* v, std::index_sequence<kI...>) noexcept
{
    (ApplyOne<Net, kShares, kFirst + kI>(v), ...);
}

/// Applies a network to vectors, part by part, since compilers limit the length of an expression. What it
/// makes and nobody reads, the compiler drops.
///
/// With `kShares` two of five comparators are comparisons and choices: for processors that have one unit for minima of
/// 64 bytes, and another one that compares them, of which both choose.
template <class Net, bool kShares = false, std::size_t kFirst = 0, class V>
HWY_INLINE void Apply(V* v) noexcept
{
    constexpr std::size_t longest = 128, size = Net::network.size;
    constexpr std::size_t end = size - kFirst < longest ? size : kFirst + longest;
    ApplyPart<Net, kShares, kFirst>(v, std::make_index_sequence<end - kFirst>());
    if constexpr (end < size)
        Apply<Net, kShares, end>(v);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
