// Vectors at byte addresses and rows in blocks, for kernels. Include after <hwy/highway.h>; compiled once per
// processor target.
#if defined(KO_SIMD_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_VECTORS_INL_H
#undef KO_SIMD_VECTORS_INL_H
#else
#define KO_SIMD_VECTORS_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

template <class D>
using VecOf = hwy::HWY_NAMESPACE::Vec<D>;
template <class D>
using SampleIn = hwy::HWY_NAMESPACE::TFromD<D>;

template <class D>
VecOf<D> LoadAt(D d, const std::uint8_t* at)
{
    return hwy::HWY_NAMESPACE::LoadU(d, reinterpret_cast<const SampleIn<D>*>(at));
}

template <class D>
void StoreAt(D d, VecOf<D> v, std::uint8_t* at)
{
    hwy::HWY_NAMESPACE::StoreU(v, d, reinterpret_cast<SampleIn<D>*>(at));
}

/// Covers from...to - 1 with blocks of `step`, the last one moved back over its neighbour; false, with
/// nothing done, where there is no room for one.
template <class Block>
bool InBlocks(std::int64_t from, std::int64_t to, std::int64_t step, const Block& block)
{
    if (to - from < step)
        return false;
    std::int64_t x = from;
    for (; x + step <= to; x += step)
        block(x);
    if (x < to)
        block(to - step);
    return true;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
