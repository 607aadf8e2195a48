// Truncating averages of unsigned samples, for kernels. Include after <hwy/highway.h>; compiled once per
// processor target.
//
// The processor's average rounds up; on complemented samples (every bit inverted) rounding up is truncation:
//   ~((a + b) / 2) = average(~a, ~b)
// and since floors nest, (3a + b) / 4 = (a + (a + b) / 2) / 2 and (a + 2b + c) / 4 = (b + (a + c) / 2) / 2.
#if defined(KO_SIMD_AVERAGES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_AVERAGES_INL_H
#undef KO_SIMD_AVERAGES_INL_H
#else
#define KO_SIMD_AVERAGES_INL_H
#endif

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Three quarters of `near` and a quarter of `far`.
template <class T>
T Nearer(T near, T far) noexcept
{
    return static_cast<T>((3U * near + far) >> 2);
}

template <class T>
T Complement(T sample) noexcept
{
    return static_cast<T>(~static_cast<unsigned>(sample));
}

#if HWY_TARGET != HWY_SCALAR

template <class D>
struct TwoVecs {
    VecOf<D> first;
    VecOf<D> second;
};

/// The samples at one and at three quarters of the way from a to b; all complemented.
template <class D>
TwoVecs<D> Between(D, VecOf<D> a, VecOf<D> b)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const auto middle = hn::AverageRound(a, b);
    return {hn::AverageRound(a, middle), hn::AverageRound(b, middle)};
}

template <class D>
VecOf<D> LoadComplement(D d, const std::uint8_t* at)
{
    return hwy::HWY_NAMESPACE::Not(LoadAt(d, at));
}

template <class D>
void StoreComplement(D d, VecOf<D> v, std::uint8_t* at)
{
    StoreAt(d, hwy::HWY_NAMESPACE::Not(v), at);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
