// Lanes taken from two vectors, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_SIMD_TWO_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_TWO_VECTORS_INL_H
#undef KO_SIMD_TWO_VECTORS_INL_H
#else
#define KO_SIMD_TWO_VECTORS_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

/// Processors with AVX-512 take words from anywhere in two vectors, newer ones bytes as well.
template <class T>
inline constexpr bool takesFromTwo = sizeof(T) == 2 || HWY_TARGET <= HWY_AVX3_DL;

/// The lanes at these places of two vectors side by side; of a place, as many low bits count as both have lanes.
template <class T, class V>
HWY_INLINE V FromTwo(V first, V second, V places) noexcept
{
    if constexpr (sizeof(T) == 2)
        return V{_mm512_permutex2var_epi16(first.raw, places.raw, second.raw)};
#if HWY_TARGET <= HWY_AVX3_DL
    else
        return V{_mm512_permutex2var_epi8(first.raw, places.raw, second.raw)};
#endif
}

#else

template <class T>
inline constexpr bool takesFromTwo = false;

template <class T, class V>
V FromTwo(V first, V second, V places) noexcept;

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
