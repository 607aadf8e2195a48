#include "plugin/linear_kernels.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "plugin/linear_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko::gst {
namespace HWY_NAMESPACE {
namespace {

/// Samples of buffers may lie at any address.
template <class T>
T load(const T* samples, std::int64_t x)
{
    T sample;
    std::memcpy(&sample, samples + x, sizeof sample);
    return sample;
}

/// The colours of a pixel: the row's own (red or blue), green, and the other one.
template <class T>
void storePixel(const MosaicRow<T>& row, T own, T green, T other, T* pixel, int channels)
{
    const T samples[4] = {row.isReversed ? other : own, green, row.isReversed ? own : other, row.alpha};
    std::memcpy(pixel, samples, static_cast<std::size_t>(channels) * sizeof(T));
}

/// One pixel. Beyond the first and last column lies the one before them, as in a mirror.
template <class T, int Channels>
void makePixel(const MosaicRow<T>& row, std::int64_t x, T* pixels)
{
    const std::int64_t only = row.width == 1 ? 0 : 1;
    const std::int64_t left = x > 0 ? x - 1 : only;
    const std::int64_t right = x + 1 < row.width ? x + 1 : row.width - 1 - only;
    const auto two = [](unsigned a, unsigned b) { return static_cast<T>((a + b + 1) >> 1); };
    const auto four = [](unsigned a, unsigned b, unsigned c, unsigned d) {
        return static_cast<T>((a + b + c + d + 2) >> 2);
    };
    const T here = load(row.here, x);
    const unsigned beside[] = {load(row.here, left), load(row.here, right)};
    const unsigned upright[] = {load(row.above, x), load(row.below, x)};
    T* const pixel = pixels + Channels * x;
    if ((x % 2 == 0) == row.colourFirst)
        storePixel(row, here, four(beside[0], beside[1], upright[0], upright[1]),
                   four(load(row.above, left), load(row.above, right), load(row.below, left),
                        load(row.below, right)),
                   pixel, Channels);
    else
        storePixel(row, two(beside[0], beside[1]), here, two(upright[0], upright[1]), pixel, Channels);
}

#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;

/// The mean of four, rounded to the nearest, halves up. The mean of two means is one too high where both were rounded
/// up to an odd sum, or one of them was and their sum is odd.
template <class V>
HWY_INLINE V meanOfFour(hn::DFromV<V> d, V a, V b, V c, V e)
{
    const V first = hn::AverageRound(a, b), second = hn::AverageRound(c, e);
    const V wasOdd = hn::Or(hn::Xor(a, b), hn::Xor(c, e));
    const V isTooHigh = hn::And(hn::And(wasOdd, hn::Xor(first, second)), hn::Set(d, 1));
    return hn::Sub(hn::AverageRound(first, second), isTooHigh);
}

/// As many pixels as a vector has lanes, none of them in the first or last column.
template <class T, int Channels, class D>
HWY_INLINE void makePixels(D d, const MosaicRow<T>& row, std::int64_t x, T* pixels)
{
    const auto at = [&](const T* samples, std::int64_t side) { return hn::LoadU(d, samples + x + side); };
    const auto here = at(row.here, 0), left = at(row.here, -1), right = at(row.here, 1);
    const auto above = at(row.above, 0), below = at(row.below, 0);
    const auto cross = meanOfFour(d, left, right, above, below);
    const auto corners =
        meanOfFour(d, at(row.above, -1), at(row.above, 1), at(row.below, -1), at(row.below, 1));
    const auto isEven = hn::Eq(hn::And(hn::Iota(d, 0), hn::Set(d, 1)), hn::Zero(d));
    const auto isOwn = (x % 2 == 0) == row.colourFirst ? isEven : hn::Not(isEven);
    const auto own = hn::IfThenElse(isOwn, here, hn::AverageRound(left, right));
    const auto green = hn::IfThenElse(isOwn, cross, here);
    const auto other = hn::IfThenElse(isOwn, corners, hn::AverageRound(above, below));
    const auto first = row.isReversed ? other : own, third = row.isReversed ? own : other;
    if constexpr (Channels == 4)
        hn::StoreInterleaved4(first, green, third, hn::Set(d, row.alpha), d, pixels + 4 * x);
    else
        hn::StoreInterleaved3(first, green, third, d, pixels + 3 * x);
}
#endif

template <class T, int Channels>
void makeRow(const MosaicRow<T>& row, T* pixels)
{
    std::int64_t x = 1;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t last = row.width - 1 - lanes;
    for (; x <= last; x += lanes)
        makePixels<T, Channels>(d, row, x, pixels);
    if (last >= 1) {
        makePixels<T, Channels>(d, row, last, pixels);
        x = row.width - 1;
    }
#endif
    makePixel<T, Channels>(row, 0, pixels);
    for (; x < row.width; ++x)
        makePixel<T, Channels>(row, x, pixels);
}

const LinearKernels& Kernels()
{
    static constexpr LinearKernels kernels{&makeRow<std::uint8_t, 3>, &makeRow<std::uint8_t, 4>,
                                           &makeRow<std::uint16_t, 4>};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko::gst
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko::gst {
namespace {
HWY_EXPORT(Kernels);
}
const LinearKernels& linearKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko::gst
#endif
