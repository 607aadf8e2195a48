// Rows of samples for tiles: channels taken apart and put together, phases. Include after <hwy/highway.h>;
// compiled once per processor target.
#if defined(KO_MEDIAN_TILE_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_TILE_PIXELS_INL_H
#undef KO_MEDIAN_TILE_PIXELS_INL_H
#else
#define KO_MEDIAN_TILE_PIXELS_INL_H
#endif

#include "base/image_view.h"
#include "median/tile_kernels.h"

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void Separate(const std::uint8_t* pixels, std::int64_t count, T* const* rows) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (; x + lanes <= count; x += lanes) {
        hn::Vec<decltype(d)> a, b, c;
        hn::LoadInterleaved3(d, reinterpret_cast<const T*>(pixels) + 3 * x, a, b, c);
        hn::StoreU(a, d, rows[0] + x);
        hn::StoreU(b, d, rows[1] + x);
        hn::StoreU(c, d, rows[2] + x);
    }
#endif
    for (; x < count; ++x)
        for (int channel = 0; channel < 3; ++channel)
            rows[channel][x] = loadSample<T>(pixels, 3 * x + channel);
}

template <class T>
void Join(const T* const* rows, std::int64_t count, std::uint8_t* pixels) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (; x + lanes <= count; x += lanes)
        hn::StoreInterleaved3(hn::LoadU(d, rows[0] + x), hn::LoadU(d, rows[1] + x), hn::LoadU(d, rows[2] + x),
                              d, reinterpret_cast<T*>(pixels) + 3 * x);
#endif
    for (; x < count; ++x)
        for (int channel = 0; channel < 3; ++channel)
            storeSample(pixels, 3 * x + channel, rows[channel][x]);
}

template <class T>
void Split(const T* row, T* phases) noexcept
{
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (std::int64_t i = 0; i < medianPhaseSamples<T>; i += lanes) {
        hn::Vec<decltype(d)> v0, v1, v2, v3;
        hn::LoadInterleaved4(d, row + medianTileSide * i, v0, v1, v2, v3);
        T* to = phases + i;
        for (const auto v : {v0, v1, v2, v3}) {
            hn::StoreU(v, d, to);
            to += medianPhaseSamples<T>;
        }
    }
}

template <class T>
constexpr MedianPixelKernels<T> pixelKernels{&Separate<T>, &Join<T>, &Split<T>};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
