// Vectors that cover a row, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_MEDIAN_ROW_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_ROW_VECTORS_INL_H
#undef KO_MEDIAN_ROW_VECTORS_INL_H
#else
#define KO_MEDIAN_ROW_VECTORS_INL_H
#endif

#include <algorithm>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Calls body(x) for vectors that cover first ... end - 1, at least one vector. All but the first and the
/// last start at `aligned` plus whole vectors; these two overlap their neighbours where they have to. There is
/// one call only: a large body that is called at several places stays a function.
template <class Body>
HWY_INLINE void ForEachVector(std::int64_t first, std::int64_t end, std::int64_t aligned, std::int64_t lanes,
                              const Body& body) noexcept
{
    const std::int64_t last = end - lanes;
    std::int64_t next = first + lanes - ((first - aligned) & (lanes - 1));
    for (std::int64_t x = first;; x = std::min(next, last), next += lanes) {
        body(x);
        if (x >= last)
            return;
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
