// Samples under a mask, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_STATS_SELECTED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_STATS_SELECTED_INL_H
#undef KO_STATS_SELECTED_INL_H
#else
#define KO_STATS_SELECTED_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// The samples with a non-zero mask byte, the bits of `flipped` turned over, and zero for the others. The count goes up
/// by them; it should be a local variable, which memory behind a pointer would make every vector wait for.
template <class T>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::ScalableTag<T>>
Selected(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t at, T flipped,
         std::uint64_t& count) noexcept
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<T> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const auto marks = hn::LoadU(bytes, mask + at);
    const auto selected = [&] {
        if constexpr (sizeof(T) == 1)
            return hn::Ne(marks, hn::Zero(d));
        else
            return hn::Ne(hn::PromoteTo(d, marks), hn::Zero(d));
    }();
    count += hn::CountTrue(d, selected);
    const auto samples = hn::LoadU(d, reinterpret_cast<const T*>(row) + at);
    return hn::IfThenElseZero(selected, hn::Xor(samples, hn::Set(d, flipped)));
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
