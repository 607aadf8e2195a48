// Sums that become samples in Resize, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_FILTERS_RESIZE_ROUNDING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_FILTERS_RESIZE_ROUNDING_INL_H
#undef KO_FILTERS_RESIZE_ROUNDING_INL_H
#else
#define KO_FILTERS_RESIZE_ROUNDING_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T, class D>
hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::Rebind<T, D>> TruncatedTo(D, hwy::HWY_NAMESPACE::Vec<D> v)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> dt;
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::DemoteTo(dt, hn::ConvertTo(d32, v));
    else
        return hn::DemoteTo(dt, hn::DemoteTo(d32, v));
}

/// Bytes are rounded to the nearest whole number in floats. With 1/4 added to the sum that is what the truncated product
/// is, which is larger by 1/2: that one stays away from whole numbers by more than roundings move it.
inline constexpr float nearestOffset = 0.25F;

/// The whole numbers nearest to sum * scale, with the greatest distance of one from its product in `farthest`. `rounder` is
/// added and leaves the number in the lowest byte.
template <class D>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::Rebind<std::uint8_t, D>>
NearestBytes(D d, hwy::HWY_NAMESPACE::Vec<D> sums, hwy::HWY_NAMESPACE::Vec<D> scale,
             hwy::HWY_NAMESPACE::Vec<D>& farthest)
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::RebindToUnsigned<D> d32;
    const auto rounder = hn::Set(d, 12582912.0F);  // 1.5 * 2^23
    const auto rounded = hn::MulAdd(sums, scale, rounder);
    farthest = hn::Max(farthest, hn::Abs(hn::MulSub(sums, scale, hn::Sub(rounded, rounder))));
    return hn::TruncateTo(hn::Rebind<std::uint8_t, D>(), hn::BitCast(d32, rounded));
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
