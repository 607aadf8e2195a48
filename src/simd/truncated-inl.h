// Floats to whole numbers, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_SIMD_TRUNCATED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_TRUNCATED_INL_H
#undef KO_SIMD_TRUNCATED_INL_H
#else
#define KO_SIMD_TRUNCATED_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_SSE4

// The conversion of Highway takes four instructions more, for numbers beyond 32 bits.

template <std::size_t N>
HWY_INLINE hn::Vec128<std::int32_t, N> Truncated(hn::Vec128<float, N> v) noexcept
{
    return hn::Vec128<std::int32_t, N>{_mm_cvttps_epi32(v.raw)};
}

#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec256<std::int32_t> Truncated(hn::Vec256<float> v) noexcept
{
    return hn::Vec256<std::int32_t>{_mm256_cvttps_epi32(v.raw)};
}
#endif

#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::int32_t> Truncated(hn::Vec512<float> v) noexcept
{
    return hn::Vec512<std::int32_t>{_mm512_cvttps_epi32(v.raw)};
}
#endif

#else

/// Floats that fit 32 bits, without what lies behind the point.
template <class V>
HWY_INLINE auto Truncated(V v) noexcept
{
    return hn::ConvertTo(hn::RebindToSigned<hn::DFromV<V>>(), v);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
