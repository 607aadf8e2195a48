// Stores of doubles and floats that keep the low bits of the truncated value, for kernels. Include after
// <hwy/highway.h>; compiled once per processor target.
#if defined(KO_SIMD_LOW_BITS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_LOW_BITS_INL_H
#undef KO_SIMD_LOW_BITS_INL_H
#else
#define KO_SIMD_LOW_BITS_INL_H
#endif

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// What 64 bits cannot hold becomes 0, like the low bits of -2^63. False where a lane is beyond `limit`.
template <class D>
bool MakeStorable(D d, VecOf<D>& v, SampleIn<D> limit)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const auto bound = hn::Set(d, SampleIn<D>(9223372036854775808.0));
    v = hn::IfThenElse(hn::Lt(hn::Abs(v), bound), v, hn::Zero(d));
    return hn::AllTrue(d, hn::Lt(hn::Abs(v), hn::Set(d, limit)));
}

/// The limit for `StoreLowBits`.
template <class Dst>
constexpr double storableLimit = sizeof(Dst) == 4 ? 2251799813685248.0 : 2147483648.0;

/// The low bits of the truncated doubles, which lie within 31 bits for the narrow destinations and within 51
/// for the wide one, in whose mantissa adding 1.5 * 2^52 puts the integer.
template <class Dst, class D>
void StoreLowBits(D d, VecOf<D> v, std::uint8_t* at)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::Rebind<Dst, D> to;
    if constexpr (sizeof(Dst) == 4) {
        const auto shifted = hn::Add(hn::Trunc(v), hn::Set(d, 6755399441055744.0));
        StoreAt(to, hn::TruncateTo(to, hn::BitCast(hn::RebindToUnsigned<D>(), shifted)), at);
    } else {
        const hn::Rebind<std::int32_t, D> d32;
        const hn::RebindToUnsigned<decltype(d32)> du32;
        StoreAt(to, hn::TruncateTo(to, hn::BitCast(du32, hn::DemoteTo(d32, v))), at);
    }
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
