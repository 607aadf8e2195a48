// Every second pixel of a row, for kernels. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_SIMD_SECOND_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_SECOND_PIXELS_INL_H
#undef KO_SIMD_SECOND_PIXELS_INL_H
#else
#define KO_SIMD_SECOND_PIXELS_INL_H
#endif

#include "simd/vectors-inl.h"

#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// Unsigned integer that holds a whole pixel.
template <int Bytes>
using PixelOf =
    std::conditional_t<Bytes == 1, std::uint8_t,
                       std::conditional_t<Bytes == 2, std::uint16_t,
                                          std::conditional_t<Bytes == 4, std::uint32_t, std::uint64_t>>>;

constexpr std::uint8_t none = 0x80;  // a zero from the byte shuffle

struct Shuffle {
    alignas(16) std::uint8_t bytes[16];
};

using ShuffledBytes = hwy::HWY_NAMESPACE::CappedTag<std::uint8_t, 16>;

inline VecOf<ShuffledBytes> Pick(VecOf<ShuffledBytes> from, const Shuffle& shuffle)
{
    namespace hn = hwy::HWY_NAMESPACE;
    return hn::TableLookupBytesOr0(from, hn::Load(ShuffledBytes{}, shuffle.bytes));
}

/// For bytes `first`... of every second pixel, those that lie in the 16 from `offset` on of all pixels.
template <int PixelBytes>
constexpr Shuffle ShuffleOfSecond(int first, int offset)
{
    Shuffle shuffle{};
    for (int i = 0; i < 16; ++i) {
        const int byte = (first + i) / PixelBytes * 2 * PixelBytes + (first + i) % PixelBytes - offset;
        shuffle.bytes[i] = byte >= 0 && byte < 16 ? static_cast<std::uint8_t>(byte) : none;
    }
    return shuffle;
}

/// Pixels of 1, 2, 4 or 8 bytes are lanes of their own when they change places.
///
/// `values(d, at)` gives the samples of all pixels from byte `at` on.
template <class T, int PixelBytes>
struct SecondLanes {
    using D = hwy::HWY_NAMESPACE::ScalableTag<T>;
    using P = hwy::HWY_NAMESPACE::Repartition<PixelOf<PixelBytes>, D>;

    /// Pixels that one call stores.
    static std::int64_t Step() { return static_cast<std::int64_t>(hwy::HWY_NAMESPACE::Lanes(P{})); }

    template <class Values>
    static void Store(const Values& values, std::uint8_t* dst)
    {
        namespace hn = hwy::HWY_NAMESPACE;
        const auto lower = values(D{}, 0);
        const auto upper = values(D{}, Step() * PixelBytes);
        hn::StoreU(hn::ConcatEven(P{}, hn::BitCast(P{}, upper), hn::BitCast(P{}, lower)), P{},
                   reinterpret_cast<PixelOf<PixelBytes>*>(dst));
    }
};

/// Pixels of 3 or 6 bytes, put in place by byte shuffles, 24 bytes of them as the unit.
template <class T, int PixelBytes>
struct SecondShuffles {
    static constexpr int unit = 24;
    static constexpr int units = 4;  // a whole number of the widest vectors

    static std::int64_t Step() { return units * unit / PixelBytes; }

    template <class Values>
    static void Store(const Values& values, std::uint8_t* dst)
    {
        namespace hn = hwy::HWY_NAMESPACE;
        // All pixels with the widest vectors, then every second one.
        const hn::ScalableTag<T> wide;
        constexpr auto wideBytes = static_cast<int>(hn::MaxLanes(wide) * sizeof(T));
        alignas(64) std::uint8_t all[2 * unit * units];
        for (int at = 0; at < 2 * unit * units; at += wideBytes)
            StoreAt(wide, values(wide, at), all + at);
        static constexpr Shuffle first[] = {ShuffleOfSecond<PixelBytes>(0, 0),
                                            ShuffleOfSecond<PixelBytes>(0, 16)};
        static constexpr Shuffle rest[] = {ShuffleOfSecond<PixelBytes>(16, 16),
                                           ShuffleOfSecond<PixelBytes>(16, 32)};
        const ShuffledBytes bytes;
        for (int i = 0; i < units; ++i, dst += unit) {
            const std::uint8_t* const own = all + 2 * unit * i;
            const auto from0 = hn::Load(bytes, own), from16 = hn::Load(bytes, own + 16),
                       from32 = hn::Load(bytes, own + 32);
            hn::StoreU(hn::Or(Pick(from0, first[0]), Pick(from16, first[1])), bytes, dst);
            const auto end = hn::Or(Pick(from16, rest[0]), Pick(from32, rest[1]));
            hn::StoreU(hn::LowerHalf(end), hn::Half<ShuffledBytes>{}, dst + 16);
        }
    }
};

template <class T, int PixelBytes>
using SecondPixels =
    std::conditional_t<PixelBytes % 3 == 0, SecondShuffles<T, PixelBytes>, SecondLanes<T, PixelBytes>>;

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
