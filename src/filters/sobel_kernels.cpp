#include "filters/sobel_kernels.h"

#include "base/image_view.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/sobel_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/truncated-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Wide = hn::Rebind<std::int32_t, Floats>;
using V = hn::Vec<Floats>;

/// The root of a sum of squares, off by less than 1/4, of 0 by 1 at the most. Processors with AVX-512 estimate inverse
/// roots to 14 bits, which is enough for those of bytes (at most 1442) and takes a third of the time.
template <class T>
V RootNear(V sum)
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    if constexpr (sizeof(T) == 1) {
        const V positive = hn::Max(sum, hn::Set(Floats(), 1));
        return hn::Mul(positive, hn::ApproximateReciprocalSqrt(positive));
    }
#endif
    return hn::Sqrt(sum);
}

/// The whole part of the root of gx^2 + gy^2. A root that is off by less than 1/2, rounded to the nearest, is right or one
/// too large, which its square tells. Floats hold squares and sums of bytes (at most 2 * 1020^2) exactly. For words
/// (gradients below 2^18) the square differs from the sum by less than 2^20, which 32 bits tell whatever they have dropped of
/// both.
template <class T, class VI = hn::Vec<Wide>>
HWY_INLINE VI Magnitude(VI gx, VI gy)
{
    const V x = hn::ConvertTo(Floats(), gx), y = hn::ConvertTo(Floats(), gy);
    const V sum = hn::MulAdd(x, x, hn::Mul(y, y));
    const VI nearest = Truncated(hn::Add(RootNear<T>(sum), hn::Set(Floats(), 0.5F)));
    const VI below = hn::Sub(nearest, hn::Set(Wide(), 1));
    if constexpr (sizeof(T) == 1) {
        const V root = hn::ConvertTo(Floats(), nearest);
        return hn::IfThenElse(hn::RebindMask(Wide(), hn::Gt(hn::Mul(root, root), sum)), below, nearest);
    } else {
        const VI squares = hn::Add(hn::Mul(gx, gx), hn::Mul(gy, gy));
        return hn::IfThenElse(hn::Gt(hn::Sub(hn::Mul(nearest, nearest), squares), hn::Zero(Wide())), below,
                              nearest);
    }
}

#if HWY_TARGET == HWY_SCALAR
template <class T>
using Gradients = Wide;
#else
/// Those of bytes fit 16 bits.
template <class T>
using Gradients = std::conditional_t<sizeof(T) == 1, hn::ScalableTag<std::int16_t>, Wide>;
#endif

template <class T, class VG>
HWY_INLINE void StoreMagnitudes(VG gx, VG gy, std::int32_t* dst)
{
    if constexpr (std::is_same_v<Gradients<T>, Wide>) {
        hn::StoreU(Magnitude<T>(gx, gy), Wide(), dst);
    } else {
#if HWY_TARGET != HWY_SCALAR
        const hn::Half<Gradients<T>> half;
        const auto wide = [](auto v) HWY_ATTR { return hn::PromoteTo(Wide(), v); };
        hn::StoreU(Magnitude<T>(wide(hn::LowerHalf(half, gx)), wide(hn::LowerHalf(half, gy))), Wide(), dst);
        hn::StoreU(Magnitude<T>(wide(hn::UpperHalf(half, gx)), wide(hn::UpperHalf(half, gy))), Wide(),
                   dst + hn::Lanes(half));
#endif
    }
}

/// A vector of results, of the pixels in the middle of those from x on.
template <class T>
HWY_INLINE void SobelAt(const T* above, const T* middle, const T* below, std::int32_t* dst, std::int64_t x)
{
    const Gradients<T> d;
    const auto at = [&](const T* row, int i) HWY_ATTR {
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, Gradients<T>>(), row + x + i));
    };
    const auto falling = hn::Sub(at(below, 2), at(above, 0)), rising = hn::Sub(at(below, 0), at(above, 2));
    const auto along = hn::Sub(at(middle, 2), at(middle, 0)), across = hn::Sub(at(below, 1), at(above, 1));
    StoreMagnitudes<T>(hn::Add(hn::Sub(falling, rising), hn::Add(along, along)),
                       hn::Add(hn::Add(falling, rising), hn::Add(across, across)), dst + x + 1);
}

template <class T>
void SobelRowOf(const std::uint8_t* above, const std::uint8_t* middle, const std::uint8_t* below,
                std::uint8_t* dst, std::int64_t width) noexcept
{
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(Gradients<T>()));
    const std::int64_t inner = width - 2;
    const auto row = [](const std::uint8_t* at) { return reinterpret_cast<const T*>(at); };
    const auto results = [](std::uint8_t* at) { return reinterpret_cast<std::int32_t*>(at); };
    if (inner >= lanes) {
        // The last vector works on pixels again.
        for (std::int64_t x = 0; x < inner; x += lanes)
            SobelAt<T>(row(above), row(middle), row(below), results(dst), std::min(x, inner - lanes));
    } else if (inner > 0) {
        T rows[3][lanes + 2] = {};
        std::int32_t wide[lanes + 2];
        const std::uint8_t* const from[3] = {above, middle, below};
        for (int i = 0; i < 3; ++i)
            std::memcpy(rows[i], from[i], static_cast<std::size_t>(width) * sizeof(T));
        SobelAt<T>(rows[0], rows[1], rows[2], wide, 0);
        std::memcpy(dst + sizeof(std::int32_t), wide + 1,
                    static_cast<std::size_t>(inner) * sizeof(std::int32_t));
    }
}

const SobelKernels& Kernels()
{
    static constexpr SobelKernels kernels{&SobelRowOf<std::uint8_t>, &SobelRowOf<std::uint16_t>};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const SobelKernels& sobelKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
