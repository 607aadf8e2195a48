// Samples between two others, for the kernels of Stretch. Include after <hwy/highway.h>; compiled once per processor
// target.
#if defined(KO_FILTERS_STRETCH_MIX_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_FILTERS_STRETCH_MIX_INL_H
#undef KO_FILTERS_STRETCH_MIX_INL_H
#else
#define KO_FILTERS_STRETCH_MIX_INL_H
#endif

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

// 16-bit samples are made signed by moving them down by half their range. The weights sum to 65536, so the
// weighted sums move by exactly 2^31, and the half range comes back after the shift.
template <class D16>
hn::Vec<D16> Centred(D16 d16, hn::Vec<hn::RebindToUnsigned<D16>> v)
{
    const hn::RebindToUnsigned<D16> du16;
    return hn::BitCast(d16, hn::Xor(v, hn::Set(du16, 0x8000)));
}

template <class D16>
hn::Vec<D16> LoadSigned(D16 d16, const std::uint8_t* src, std::uint8_t)
{
    return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<std::uint8_t, D16>{}, src));
}

template <class D16>
hn::Vec<D16> LoadSigned(D16 d16, const std::uint8_t* src, std::uint16_t)
{
    return Centred(d16, LoadAt(hn::RebindToUnsigned<D16>{}, src));
}

template <class D16>
void StoreSigned(D16, hn::Vec<D16> v, std::uint8_t* dst, std::uint8_t)
{
    const hn::Rebind<std::uint8_t, D16> d8;
    hn::StoreU(hn::DemoteTo(d8, v), d8, dst);
}

template <class D16>
void StoreSigned(D16 d16, hn::Vec<D16> v, std::uint8_t* dst, std::uint16_t)
{
    const hn::RebindToUnsigned<D16> du16;
    StoreAt(du16, hn::BitCast(du16, Centred(d16, hn::BitCast(du16, v))), dst);
}

// A share s of the farther sample f beside the nearer one n, in 1/65536, is n + ((f - n) * s >> 16). For bytes that is
// n + ((n - f) * -s >> 16), and -s fits a signed factor. For 16-bit samples the smaller one is the base, with s or
// 65536 - s of the difference, which needs no sign then.

/// Samples out of signed ones; `minusShares` are -s.
template <class D16>
hn::Vec<D16> Mix(D16, hn::Vec<D16> nearer, hn::Vec<D16> farther, hn::Vec<D16> minusShares, std::uint8_t)
{
    return hn::Add(nearer, hn::MulHigh(hn::Sub(nearer, farther), minusShares));
}

template <class D16>
hn::Vec<D16> Mix(D16 d16, hn::Vec<D16> nearer, hn::Vec<D16> farther, hn::Vec<D16> minusShares, std::uint16_t)
{
    const hn::RebindToUnsigned<D16> du16;
    const auto base = hn::Min(nearer, farther);
    const auto rise = hn::BitCast(du16, hn::Sub(hn::Max(nearer, farther), base));
    const auto factors =
        hn::IfThenElse(hn::Eq(base, nearer), hn::Sub(hn::Zero(d16), minusShares), minusShares);
    return hn::Add(base, hn::BitCast(d16, hn::MulHigh(rise, hn::BitCast(du16, factors))));
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
