#include "filters/stretch_average_kernels.h"

#include "base/image_view.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/stretch_average_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/averages-inl.h"
#include "simd/second_pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
T Tent(T before, T centre, T after) noexcept
{
    return static_cast<T>((before + 2U * centre + after) >> 2);
}

template <class T>
void DoublePixels(const std::uint8_t* src, std::uint8_t* dst, std::int64_t from, std::int64_t to,
                  int channels) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
        for (int c = 0; c < channels; ++c) {
            const T before = loadSample<T>(src, std::max<std::int64_t>(x - 1, 0) * channels + c);
            const T own = loadSample<T>(src, x * channels + c);
            storeSample(dst, 2 * x * channels + c, Complement(Nearer(before, own)));
            storeSample(dst, (2 * x + 1) * channels + c, Complement(Nearer(own, before)));
        }
    }
}

/// `from` and `to` count the pixels of dst, which are half of the source's `pixels`.
template <class T>
void HalvePixels(const std::uint8_t* src, std::uint8_t* dst, std::int64_t from, std::int64_t to,
                 std::int64_t pixels, int channels) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
        const std::int64_t after = std::min(2 * x + 2, pixels - 1);
        for (int c = 0; c < channels; ++c) {
            const T tent =
                Tent(loadSample<T>(src, 2 * x * channels + c), loadSample<T>(src, (2 * x + 1) * channels + c),
                     loadSample<T>(src, after * channels + c));
            storeSample(dst, x * channels + c, Complement(tent));
        }
    }
}

template <class T>
void DoubledSamples(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* upper,
                    std::uint8_t* lower, std::int64_t from, std::int64_t to) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
        const T a = Complement(loadSample<T>(above, x)), b = Complement(loadSample<T>(below, x));
        storeSample(upper, x, Nearer(a, b));
        storeSample(lower, x, Nearer(b, a));
    }
}

template <class T>
void HalvedSamples(const std::uint8_t* above, const std::uint8_t* centre, const std::uint8_t* below,
                   std::uint8_t* dst, std::int64_t from, std::int64_t to) noexcept
{
    for (std::int64_t x = from; x < to; ++x) {
        storeSample(dst, x,
                    Tent(Complement(loadSample<T>(above, x)), Complement(loadSample<T>(centre, x)),
                         Complement(loadSample<T>(below, x))));
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void DoubleRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels, int channels) noexcept
{
    DoublePixels<T>(src, dst, 0, pixels, channels);
}

template <class T>
void HalveRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels, int channels) noexcept
{
    HalvePixels<T>(src, dst, 0, pixels / 2, pixels, channels);
}

template <class T>
void DoubledRows(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* upper,
                 std::uint8_t* lower, std::int64_t samples) noexcept
{
    DoubledSamples<T>(above, below, upper, lower, 0, samples);
}

template <class T>
void HalvedRow(const std::uint8_t* above, const std::uint8_t* centre, const std::uint8_t* below,
               std::uint8_t* dst, std::int64_t samples) noexcept
{
    HalvedSamples<T>(above, centre, below, dst, 0, samples);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

/// The complemented tents around the samples that follow those at `at` by `distance` bytes.
template <class D>
hn::Vec<D> TentAt(D d, const std::uint8_t* at, std::int64_t distance)
{
    const auto sides = hn::AverageRound(LoadComplement(d, at), LoadComplement(d, at + 2 * distance));
    return hn::AverageRound(LoadComplement(d, at + distance), sides);
}

/// Pixels of 1, 2, 4 or 8 bytes are lanes of their own when they change places.
template <class T, int PixelBytes>
struct PixelLanes {
    using D = hn::ScalableTag<T>;
    using P = hn::Repartition<PixelOf<PixelBytes>, D>;

    static std::int64_t Step() { return static_cast<std::int64_t>(hn::Lanes(P{})); }

    static void Double(const std::uint8_t* src, std::uint8_t* dst)
    {
        const auto both = Between(D{}, LoadComplement(D{}, src - PixelBytes), LoadComplement(D{}, src));
        hn::StoreInterleaved2(hn::BitCast(P{}, both.first), hn::BitCast(P{}, both.second), P{},
                              reinterpret_cast<PixelOf<PixelBytes>*>(dst));
    }
};

/// For output bytes `first`... of a doubled row, the bytes of the even (or odd) output pixels, which lie in a
/// vector that starts at byte `offset` of theirs.
template <int PixelBytes>
constexpr Shuffle ShuffleOfDoubled(int first, int odd, int offset)
{
    Shuffle shuffle{};
    for (int i = 0; i < 16; ++i) {
        const int pixel = (first + i) / PixelBytes;
        const int byte = pixel / 2 * PixelBytes + (first + i) % PixelBytes - offset;
        shuffle.bytes[i] = pixel % 2 == odd ? static_cast<std::uint8_t>(byte) : none;
    }
    return shuffle;
}

/// Pixels of 3 or 6 bytes, put in place by byte shuffles, 24 bytes of source as the unit.
template <class T, int PixelBytes>
struct PixelShuffles {
    using D = hn::CappedTag<T, 16 / sizeof(T)>;
    using B = ShuffledBytes;
    using V = hn::Vec<B>;

    static std::int64_t Step() { return 24 / PixelBytes; }

    static void Double(const std::uint8_t* src, std::uint8_t* dst)
    {
        // Bytes 0...15 and 8...23 of the even output pixels and of the odd ones.
        const auto low = Between(D{}, LoadComplement(D{}, src - PixelBytes), LoadComplement(D{}, src));
        const auto high =
            Between(D{}, LoadComplement(D{}, src - PixelBytes + 8), LoadComplement(D{}, src + 8));
        const V even0 = hn::BitCast(B{}, low.first), odd0 = hn::BitCast(B{}, low.second);
        const V even8 = hn::BitCast(B{}, high.first), odd8 = hn::BitCast(B{}, high.second);
        static constexpr Shuffle fromEven[] = {ShuffleOfDoubled<PixelBytes>(0, 0, 0),
                                               ShuffleOfDoubled<PixelBytes>(16, 0, 8),
                                               ShuffleOfDoubled<PixelBytes>(32, 0, 8)};
        static constexpr Shuffle fromOdd[] = {ShuffleOfDoubled<PixelBytes>(0, 1, 0),
                                              ShuffleOfDoubled<PixelBytes>(16, 1, 0),
                                              ShuffleOfDoubled<PixelBytes>(32, 1, 8)};
        hn::StoreU(hn::Or(Pick(even0, fromEven[0]), Pick(odd0, fromOdd[0])), B{}, dst);
        hn::StoreU(hn::Or(Pick(even8, fromEven[1]), Pick(odd0, fromOdd[1])), B{}, dst + 16);
        hn::StoreU(hn::Or(Pick(even8, fromEven[2]), Pick(odd8, fromOdd[2])), B{}, dst + 32);
    }
};

template <class T, int PixelBytes>
using PixelMoves =
    std::conditional_t<PixelBytes % 3 == 0, PixelShuffles<T, PixelBytes>, PixelLanes<T, PixelBytes>>;

template <class T, int Channels>
void DoubleRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels) noexcept
{
    constexpr int pixelBytes = Channels * static_cast<int>(sizeof(T));
    using Moves = PixelMoves<T, pixelBytes>;
    const bool done = InBlocks(1, pixels, Moves::Step(), [&](std::int64_t x) HWY_ATTR {
        Moves::Double(src + x * pixelBytes, dst + 2 * x * pixelBytes);
    });
    DoublePixels<T>(src, dst, 0, done ? 1 : pixels, Channels);
}

template <class T, int Channels>
void HalveRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels) noexcept
{
    constexpr int pixelBytes = Channels * static_cast<int>(sizeof(T));
    using Second = SecondPixels<T, pixelBytes>;
    const std::int64_t last = pixels / 2 - 1;
    const bool done = InBlocks(0, last, Second::Step(), [&](std::int64_t x) HWY_ATTR {
        const std::uint8_t* const first = src + 2 * x * pixelBytes;
        Second::Store([=](auto d, std::int64_t at) HWY_ATTR { return TentAt(d, first + at, pixelBytes); },
                      dst + x * pixelBytes);
    });
    HalvePixels<T>(src, dst, done ? last : 0, last + 1, pixels, Channels);
}

using RowOfChannels = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels) noexcept;

template <class T>
void DoubleRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels, int channels) noexcept
{
    static constexpr RowOfChannels byChannels[] = {&DoubleRowOf<T, 1>, &DoubleRowOf<T, 2>, &DoubleRowOf<T, 3>,
                                                   &DoubleRowOf<T, 4>};
    static_assert(std::size(byChannels) == stretchAverageChannels);
    byChannels[channels - 1](src, dst, pixels);
}

template <class T>
void HalveRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t pixels, int channels) noexcept
{
    static constexpr RowOfChannels byChannels[] = {&HalveRowOf<T, 1>, &HalveRowOf<T, 2>, &HalveRowOf<T, 3>,
                                                   &HalveRowOf<T, 4>};
    static_assert(std::size(byChannels) == stretchAverageChannels);
    byChannels[channels - 1](src, dst, pixels);
}

template <class T>
void DoubledRows(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* upper,
                 std::uint8_t* lower, std::int64_t samples) noexcept
{
    const hn::ScalableTag<T> d;
    const auto step = static_cast<std::int64_t>(hn::Lanes(d));
    const bool done = InBlocks(0, samples, step, [&](std::int64_t x) HWY_ATTR {
        const std::int64_t at = x * static_cast<std::int64_t>(sizeof(T));
        const auto both = Between(d, LoadAt(d, above + at), LoadAt(d, below + at));
        StoreComplement(d, both.first, upper + at);
        StoreComplement(d, both.second, lower + at);
    });
    if (!done)
        DoubledSamples<T>(above, below, upper, lower, 0, samples);
}

template <class T>
void HalvedRow(const std::uint8_t* above, const std::uint8_t* centre, const std::uint8_t* below,
               std::uint8_t* dst, std::int64_t samples) noexcept
{
    const hn::ScalableTag<T> d;
    const auto step = static_cast<std::int64_t>(hn::Lanes(d));
    const bool done = InBlocks(0, samples, step, [&](std::int64_t x) HWY_ATTR {
        const std::int64_t at = x * static_cast<std::int64_t>(sizeof(T));
        const auto sides = hn::AverageRound(LoadAt(d, above + at), LoadAt(d, below + at));
        StoreComplement(d, hn::AverageRound(LoadAt(d, centre + at), sides), dst + at);
    });
    if (!done)
        HalvedSamples<T>(above, centre, below, dst, 0, samples);
}

#endif

template <class T>
constexpr StretchAverageRows rows{&DoubleRow<T>, &HalveRow<T>, &DoubledRows<T>, &HalvedRow<T>};

const StretchAverageKernels& Kernels()
{
    static constexpr StretchAverageKernels kernels{rows<std::uint8_t>, rows<std::uint16_t>};
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
const StretchAverageKernels& stretchAverageKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
