#include "core/bayer_kernels.h"

#include "base/image_view.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/bayer_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// The four colours of one pixel, or of as many as a vector holds.
template <class V>
struct Colours {
    V red, green1, blue, green2;
};

template <class T>
Colours<T> coloursAt(const MosaicRows& src, std::int64_t cell) noexcept
{
    const std::int64_t red = 2 * cell + (src.redFirst ? 0 : 1), other = 2 * cell + (src.redFirst ? 1 : 0);
    return {loadSample<T>(src.withRed, red), loadSample<T>(src.withRed, other),
            loadSample<T>(src.withBlue, other), loadSample<T>(src.withBlue, red)};
}

template <class T>
Colours<T> coloursAt(const PlaneRows& src, std::int64_t x) noexcept
{
    return {loadSample<T>(src.red, x), loadSample<T>(src.green1, x), loadSample<T>(src.blue, x),
            loadSample<T>(src.green2, x)};
}

#if HWY_TARGET != HWY_SCALAR

template <class T>
const T* typed(const std::uint8_t* row, std::int64_t index)
{
    return reinterpret_cast<const T*>(row) + index;
}

template <class T>
T* typed(std::uint8_t* row, std::int64_t index)
{
    return reinterpret_cast<T*>(row) + index;
}

template <class T, class D>
Colours<hn::Vec<D>> coloursAt(D d, const MosaicRows& src, std::int64_t cell)
{
    hn::Vec<D> red, green1, green2, blue;
    hn::LoadInterleaved2(d, typed<T>(src.withRed, 2 * cell), red, green1);
    hn::LoadInterleaved2(d, typed<T>(src.withBlue, 2 * cell), green2, blue);
    if (!src.redFirst) {
        std::swap(red, green1);
        std::swap(blue, green2);
    }
    return {red, green1, blue, green2};
}

template <class T, class D>
Colours<hn::Vec<D>> coloursAt(D d, const PlaneRows& src, std::int64_t x)
{
    return {hn::LoadU(d, typed<T>(src.red, x)), hn::LoadU(d, typed<T>(src.green1, x)),
            hn::LoadU(d, typed<T>(src.blue, x)), hn::LoadU(d, typed<T>(src.green2, x))};
}

/// (a + b) >> 1; the processor's own average rounds up, that of the complements rounds down.
template <class V>
V halfOfSum(V a, V b)
{
    return hn::Not(hn::AverageRound(hn::Not(a), hn::Not(b)));
}

#endif

template <class T>
void SplitRow(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT even,
              std::uint8_t* HWY_RESTRICT odd, std::int64_t count) noexcept
{
    std::int64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (; i + lanes <= count; i += lanes) {
        hn::Vec<decltype(d)> low, high;
        hn::LoadInterleaved2(d, typed<T>(src, 2 * i), low, high);
        hn::StoreU(low, d, typed<T>(even, i));
        hn::StoreU(high, d, typed<T>(odd, i));
    }
#endif
    for (; i < count; ++i) {
        storeSample<T>(even, i, loadSample<T>(src, 2 * i));
        storeSample<T>(odd, i, loadSample<T>(src, 2 * i + 1));
    }
}

template <class T, int Channels, class Rows>
void CombineRow(const Rows& src, const PixelRow& dst, std::int64_t count) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto fourth = hn::Set(d, static_cast<T>(dst.fourth));
    for (; x + lanes <= count; x += lanes) {
        const auto from = coloursAt<T>(d, src, x);
        const auto green = halfOfSum(from.green1, from.green2);
        if constexpr (Channels == 4)
            hn::StoreInterleaved4(from.red, green, from.blue, fourth, d, typed<T>(dst.first, 4 * x));
        else
            hn::StoreInterleaved3(from.red, green, from.blue, d, typed<T>(dst.first, 3 * x));
    }
#endif
    for (; x < count; ++x) {
        const Colours<T> from = coloursAt<T>(src, x);
        storeSample<T>(dst.first, Channels * x, from.red);
        storeSample<T>(dst.first, Channels * x + 1, static_cast<T>((from.green1 + from.green2) >> 1));
        storeSample<T>(dst.first, Channels * x + 2, from.blue);
        if constexpr (Channels == 4)
            storeSample<T>(dst.first, 4 * x + 3, static_cast<T>(dst.fourth));
    }
}

template <class T, class Rows>
void PixelsRow(const Rows& src, const PixelRow& dst, std::int64_t count) noexcept
{
    if (dst.channels == 4)
        CombineRow<T, 4>(src, dst, count);
    else
        CombineRow<T, 3>(src, dst, count);
}

template <class T>
constexpr BayerRowKernels kernelsOf{&SplitRow<T>, &PixelsRow<T, MosaicRows>, &PixelsRow<T, PlaneRows>};

const BayerKernels& Kernels()
{
    static constexpr BayerKernels kernels{kernelsOf<std::uint8_t>, kernelsOf<std::uint16_t>};
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
const BayerKernels& bayerKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
