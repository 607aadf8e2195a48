// Look-ups in tables of 256 bytes that stay in registers, for kernels. Include after <hwy/highway.h> and
// "simd/vectors-inl.h"; compiled once per processor target.
#if defined(KO_SIMD_BYTE_TABLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_BYTE_TABLE_INL_H
#undef KO_SIMD_BYTE_TABLE_INL_H
#else
#define KO_SIMD_BYTE_TABLE_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

/// The whole table in four registers, two of which serve one look-up: the upper bit of a byte chooses between
/// two results.
class ByteTable {
public:
    using Bytes = hwy::HWY_NAMESPACE::ScalableTag<std::uint8_t>;

    explicit ByteTable(const std::uint8_t* table)
        : m_parts{LoadAt(Bytes(), table).raw, LoadAt(Bytes(), table + 64).raw,
                  LoadAt(Bytes(), table + 128).raw, LoadAt(Bytes(), table + 192).raw}
    {
    }

    HWY_INLINE VecOf<Bytes> At(VecOf<Bytes> bytes) const
    {
        const VecOf<Bytes> low{_mm512_permutex2var_epi8(m_parts[0], bytes.raw, m_parts[1])};
        const VecOf<Bytes> high{_mm512_permutex2var_epi8(m_parts[2], bytes.raw, m_parts[3])};
        return hwy::HWY_NAMESPACE::IfThenElse(hwy::HWY_NAMESPACE::MaskFromVec(bytes), high, low);
    }

private:
    __m512i m_parts[4];
};

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
