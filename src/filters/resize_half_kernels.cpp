#include "filters/resize_half_kernels.h"

#include "base/image_view.h"

#include <iterator>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resize_half_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/second_pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void HalfPixels(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst, std::int64_t from,
                std::int64_t to, int channels) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
        for (int c = 0; c < channels; ++c) {
            const std::int64_t left = 2 * x * channels + c, right = left + channels;
            const std::uint32_t sum = std::uint32_t{loadSample<T>(above, left)} +
                                      loadSample<T>(above, right) + loadSample<T>(below, left) +
                                      loadSample<T>(below, right);
            storeSample(dst, x * channels + c, static_cast<T>((sum + 2) >> 2));
        }
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void HalfRow(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst, std::int64_t pixels,
             int channels) noexcept
{
    HalfPixels<T>(above, below, dst, 0, pixels, channels);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

/// (a + b + c + e + 2) >> 2 without wider lanes. The processor's average rounds up. Where the last of three such
/// averages and one of the others have done so, the mean is one too large:
///   with p = (a + b + i) / 2, q = (c + e + j) / 2 and r = (p + q + k) / 2, where i, j and k are 0 or 1,
///   r = (a + b + c + e + i + j + 2k) / 4, which is what is wanted for k = 0, or i = j = 0, and 1 more otherwise.
template <class D, class V>
V MeanOfFour(D d, V a, V b, V c, V e)
{
    const V p = hn::AverageRound(a, b), q = hn::AverageRound(c, e);
    const V roundedUp = hn::And(hn::Or(hn::Xor(a, b), hn::Xor(c, e)), hn::Xor(p, q));
    return hn::Sub(hn::AverageRound(p, q), hn::And(roundedUp, hn::Set(d, SampleIn<D>{1})));
}

/// Right neighbours of the pixels at `row`; at every second place may stand anything. Where a pair of pixels is a lane
/// they come from the pixels that are loaded already: vectors that begin in the middle of a cache line are slow.
template <int PixelBytes, class D, class V>
V RightOf(D d, V pixels, const std::uint8_t* row)
{
    if constexpr (PixelBytes == 1 || PixelBytes == 2 || PixelBytes == 4) {
        const hn::Repartition<PixelOf<2 * PixelBytes>, D> pairs;
        return hn::BitCast(d, hn::ShiftRight<8 * PixelBytes>(hn::BitCast(pairs, pixels)));
    } else {
        return LoadAt(d, row + PixelBytes);
    }
}

template <class T, int Channels>
void HalfRowOf(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst,
               std::int64_t pixels) noexcept
{
    constexpr int pixelBytes = Channels * static_cast<int>(sizeof(T));
    using Second = SecondPixels<T, pixelBytes>;
    // Vectors of pixels and their right neighbours reach a pixel beyond the results' own.
    const std::int64_t last = pixels - 1;
    const auto block = [&](std::int64_t x) HWY_ATTR {
        const std::int64_t first = 2 * x * pixelBytes;
        const auto means = [=](auto d, std::int64_t at) HWY_ATTR {
            const std::uint8_t* const upper = above + first + at;
            const std::uint8_t* const lower = below + first + at;
            const auto a = LoadAt(d, upper), c = LoadAt(d, lower);
            return MeanOfFour(d, a, RightOf<pixelBytes>(d, a, upper), c, RightOf<pixelBytes>(d, c, lower));
        };
        Second::Store(means, dst + x * pixelBytes);
    };
    std::int64_t from = 0;
    if constexpr (pixelBytes % 3 != 0) {
        // Large arrays of NumPy begin 16 bytes behind a cache line, so that every vector would reach into two of them.
        // Where there are many, one more at the beginning costs less.
        const std::int64_t vectorBytes = Second::Step() * pixelBytes;
        const std::int64_t beyond = reinterpret_cast<std::intptr_t>(above) % vectorBytes;
        if (beyond > 0 && last >= 8 * Second::Step()) {
            block(0);
            from = (vectorBytes - beyond) / (2 * pixelBytes);
        }
    }
    const bool done = InBlocks(from, last, Second::Step(), block);
    HalfPixels<T>(above, below, dst, done ? last : 0, pixels, Channels);
}

template <class T>
void HalfRow(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst, std::int64_t pixels,
             int channels) noexcept
{
    using RowOfChannels = void (*)(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* dst,
                                   std::int64_t pixels) noexcept;
    static constexpr RowOfChannels byChannels[] = {&HalfRowOf<T, 1>, &HalfRowOf<T, 2>, &HalfRowOf<T, 3>,
                                                   &HalfRowOf<T, 4>};
    static_assert(std::size(byChannels) == resizeHalfChannels);
    byChannels[channels - 1](above, below, dst, pixels);
}

#endif

const ResizeHalfKernels& Kernels()
{
    static constexpr ResizeHalfKernels kernels{&HalfRow<std::uint8_t>, &HalfRow<std::uint16_t>};
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
const ResizeHalfKernels& resizeHalfKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
