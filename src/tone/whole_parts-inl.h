// Whole parts of float products that stand for products of doubles, for kernels. Include after
// <hwy/highway.h>; compiled once per processor target.
//
// A float product is known up to a slack. It has the whole part of the exact one unless a whole number lies
// within that slack; such samples are listed and computed in doubles afterwards.
#if defined(KO_TONE_WHOLE_PARTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_TONE_WHOLE_PARTS_INL_H
#undef KO_TONE_WHOLE_PARTS_INL_H
#else
#define KO_TONE_WHOLE_PARTS_INL_H
#endif

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// With more open samples in a block than this, computing the whole block in doubles is faster.
constexpr std::int64_t mostOpen(std::int64_t samples)
{
    return samples / 4 + 64;
}

/// Memory for the places of a block's samples; a whole vector is written behind the last one.
template <int Samples>
using Places = std::int32_t[Samples + 64];

#if HWY_TARGET != HWY_SCALAR

/// The whole parts of products that are not negative; the places of those of the `first` and following
/// samples that are open go to `end`, which moves on. Callers keep it in a register: a counter in memory
/// would have to be read again after each store of a result.
template <class D>
HWY_INLINE VecOf<D> WholeParts(D d, VecOf<D> product, VecOf<D> slack, int first, std::int32_t*& end)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::Rebind<std::int32_t, D> d32;
    const auto whole = hn::Trunc(hn::Add(product, slack));
    // Nothing is below 0: a product of 0 is certain.
    const auto least = hn::Max(hn::Sub(product, slack), hn::Zero(d));
    const auto open = hn::RebindMask(d32, hn::Lt(least, whole));
    if (HWY_UNLIKELY(!hn::AllFalse(d32, open))) {
        const auto places = hn::Add(hn::Iota(d32, 0), hn::Set(d32, first));
        hn::StoreU(hn::Compress(places, open), d32, end);
        end += hn::CountTrue(d32, open);
    }
    return whole;
}

/// Whole numbers from 0 to 2^23 - 1 as samples: the mantissa of a float between 2^23 and 2^24 is the number.
template <class To, class D>
VecOf<To> Narrowed(To to, D d, VecOf<D> whole)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const auto shifted = hn::Add(whole, hn::Set(d, 8388608.0F));
    return hn::TruncateTo(to, hn::BitCast(hn::RebindToUnsigned<D>(), shifted));
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
