// Mosaic rows into lines of even and odd columns, and pixels out of such lines, for kernels. Include after
// <hwy/highway.h>; compiled once per processor target.
//
// A lane stands for a pair of neighbouring columns. Its samples lie in two vectors, so neighbours of the same
// colour are neighbouring lanes, and no lane computes what another one needs.
#if defined(KO_DEMOSAIC_PIXEL_PAIRS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_DEMOSAIC_PIXEL_PAIRS_INL_H
#undef KO_DEMOSAIC_PIXEL_PAIRS_INL_H
#else
#define KO_DEMOSAIC_PIXEL_PAIRS_INL_H
#endif

#include "simd/two_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// A pair is read as one word, whose lower half is the first sample.
template <class T, class E>
void SplitPairs(const std::uint8_t* mosaic, E* first, E* second, std::int64_t pairs) noexcept
{
    using Pair = std::conditional_t<sizeof(T) == 1, std::uint16_t, std::uint32_t>;
    fetchAhead<Pair, false>(mosaic, pairs);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < pairs; ++i) {
        const auto pair = loadSample<Pair>(mosaic, i);
        first[i] = static_cast<E>(static_cast<T>(pair));
        second[i] = static_cast<E>(static_cast<T>(pair >> (8 * sizeof(T))));
    }
}

/// Columns of a pair per colour, as whole numbers that fit `T`.
template <class V>
struct PairOfPixels {
    V firstRed, firstGreen, firstBlue;
    V secondRed, secondGreen, secondBlue;
};

#if HWY_TARGET == HWY_SCALAR

template <class T, int Channels, class D>
void StorePairs(D, const PairOfPixels<hn::Vec<D>>& p, std::uint16_t fourth, std::uint8_t* to)
{
    const hn::Vec<D> samples[2][3] = {{p.firstRed, p.firstGreen, p.firstBlue},
                                      {p.secondRed, p.secondGreen, p.secondBlue}};
    for (int x = 0; x < 2; ++x) {
        for (int c = 0; c < 3; ++c)
            storeSample(to, x * Channels + c, static_cast<T>(hn::GetLane(samples[x][c])));
        if (Channels == 4)
            storeSample(to, x * Channels + 3, static_cast<T>(fourth));
    }
}

#else

/// The samples of both columns side by side in each lane.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE V Joined(D, V first, V second)
{
    return hn::Or(first, hn::ShiftLeft<8 * sizeof(T)>(second));
}

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

using Register = __m512i;

/// For each sample of a vector of pixels its place in two registers.
template <class T>
struct Places {
    static constexpr std::size_t count = sizeof(Register) / sizeof(T);
    alignas(64) std::array<std::array<T, count>, 3> at;
    std::array<std::uint64_t, 3> isThird;  ///< a bit for each sample that is in the third register
};

/// For channels in a register each.
template <class T>
constexpr Places<T> apart = [] {
    Places<T> places{};
    for (std::size_t i = 0; i < 3 * places.count; ++i) {
        const std::size_t vector = i / places.count, lane = i % places.count, channel = i % 3;
        places.at[vector][lane] = static_cast<T>(i / 3 + (channel == 1 ? places.count : 0));
        places.isThird[vector] |= std::uint64_t{channel == 2} << lane;
    }
    return places;
}();

/// For bytes in lanes of four: two of red below two of green in one register, two of blue in the other.
constexpr Places<std::uint8_t> inFours = [] {
    Places<std::uint8_t> places{};
    for (std::size_t i = 0; i < places.count * 3 / 2; ++i) {
        const std::size_t x = i / 3, channel = i % 3;
        places.at[i / 64][i % 64] = static_cast<std::uint8_t>(x / 2 * 4 + x % 2 +
                                                              (channel == 1   ? 2
                                                               : channel == 2 ? 64
                                                                              : 0));
    }
    return places;
}();

template <class T>
HWY_INLINE Register Permuted(Register first, Register second, Register third, std::size_t vector)
{
    const Register at = _mm512_load_si512(apart<T>.at[vector].data());
    const std::uint64_t isThird = apart<T>.isThird[vector];
    if constexpr (sizeof(T) == 2) {
        const Register two = _mm512_permutex2var_epi16(first, at, second);
        return _mm512_mask_permutexvar_epi16(two, static_cast<__mmask32>(isThird), at, third);
    } else {
#if HWY_TARGET <= HWY_AVX3_DL
        const Register two = _mm512_permutex2var_epi8(first, at, second);
        return _mm512_mask_permutexvar_epi8(two, isThird, at, third);
#endif
    }
}

/// Three vectors of joined samples as pixels.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE void StorePermuted(D, V red, V green, V blue, std::uint8_t* to)
{
    if constexpr (sizeof(hn::TFromD<D>) == 2 * sizeof(T)) {
        for (std::size_t vector = 0; vector < 3; ++vector)
            _mm512_storeu_si512(to + vector * sizeof(Register),
                                Permuted<T>(red.raw, green.raw, blue.raw, vector));
    } else {
#if HWY_TARGET <= HWY_AVX3_DL
        const Register both = hn::Or(red, hn::ShiftLeft<16>(green)).raw;
        const auto part = [&](std::size_t vector) HWY_ATTR {
            return _mm512_permutex2var_epi8(both, _mm512_load_si512(inFours.at[vector].data()), blue.raw);
        };
        _mm512_storeu_si512(to, part(0));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + sizeof(Register)),
                            _mm512_castsi512_si256(part(1)));
#endif
    }
}

#else

template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE void StorePermuted(D, V, V, V, std::uint8_t*)
{
}

#endif

/// Joined samples without what else is in the lanes.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE auto InOrder(D, V joined)
{
    if constexpr (sizeof(hn::TFromD<D>) == 2 * sizeof(T)) {
        return hn::BitCast(hn::Repartition<T, D>(), joined);
    } else {
        const hn::Rebind<std::uint16_t, D> narrow;
        const hn::RebindToUnsigned<D> wide;
        return hn::BitCast(hn::Repartition<T, decltype(narrow)>(),
                           hn::TruncateTo(narrow, hn::BitCast(wide, joined)));
    }
}

template <class T, int Channels, class D>
HWY_INLINE void StorePairs(D d, const PairOfPixels<hn::Vec<D>>& p, std::uint16_t fourth, std::uint8_t* to)
{
    const auto red = Joined<T>(d, p.firstRed, p.secondRed);
    const auto green = Joined<T>(d, p.firstGreen, p.secondGreen);
    const auto blue = Joined<T>(d, p.firstBlue, p.secondBlue);
    if constexpr (Channels == 3 && takesFromTwo<T>) {
        StorePermuted<T>(d, red, green, blue, to);
    } else {
        const auto reds = InOrder<T>(d, red), greens = InOrder<T>(d, green), blues = InOrder<T>(d, blue);
        const hn::DFromV<decltype(reds)> samples;
        T* const dst = reinterpret_cast<T*>(to);
        if constexpr (Channels == 3)
            hn::StoreInterleaved3(reds, greens, blues, samples, dst);
        else
            hn::StoreInterleaved4(reds, greens, blues, hn::Set(samples, static_cast<T>(fourth)), samples,
                                  dst);
    }
}

#endif

/// A row of pixels from what `pairsAt(i)` gives for the lanes from pair i on. The pixels of the last vector
/// go through memory of their own, so that none behind the row is written.
template <class T, int Channels, class D, class PairsAt>
HWY_INLINE void StoreRow(D d, const PixelRow& dst, std::int64_t width, const PairsAt& pairsAt)
{
    constexpr std::int64_t pixelBytes = Channels * std::int64_t{sizeof(T)};
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    std::int64_t i = 0;
    for (; 2 * (i + lanes) <= width; i += lanes) {
        std::uint8_t* const to = dst.first + 2 * i * pixelBytes;
        fetchAhead<T, true>(to, 2 * lanes * Channels);
        StorePairs<T, Channels>(d, pairsAt(i), dst.fourth, to);
    }
    if (2 * i < width) {
        std::uint8_t last[2 * hn::MaxLanes(D()) * pixelBytes];
        StorePairs<T, Channels>(d, pairsAt(i), dst.fourth, last);
        std::memcpy(dst.first + 2 * i * pixelBytes, last,
                    static_cast<std::size_t>((width - 2 * i) * pixelBytes));
    }
}

template <class T, class D, class PairsAt>
HWY_INLINE void StoreRow(D d, const PixelRow& dst, std::int64_t width, const PairsAt& pairsAt)
{
    if (dst.channels == 3)
        StoreRow<T, 3>(d, dst, width, pairsAt);
    else
        StoreRow<T, 4>(d, dst, width, pairsAt);
}

/// The colours of a row of a mosaic by the columns that they lie in: `own` has its colour (red or blue)
/// there, `between` the greens.
template <class V>
struct RowColours {
    V ownRow, ownGreen, ownOther;              ///< at the places of the row's colour
    V betweenRow, betweenGreen, betweenOther;  ///< at the places of the greens
};

/// `Other` is the colour of the rows above and below.
template <class V>
HWY_INLINE PairOfPixels<V> Arranged(const RowColours<V>& c, RowKind kind)
{
    const auto arranged = [&](V firstRow, V firstGreen, V firstOther, V secondRow, V secondGreen,
                              V secondOther) HWY_ATTR -> PairOfPixels<V> {
        if (kind.isRed)
            return {firstRow, firstGreen, firstOther, secondRow, secondGreen, secondOther};
        return {firstOther, firstGreen, firstRow, secondOther, secondGreen, secondRow};
    };
    if (kind.colourFirst)
        return arranged(c.ownRow, c.ownGreen, c.ownOther, c.betweenRow, c.betweenGreen, c.betweenOther);
    return arranged(c.betweenRow, c.betweenGreen, c.betweenOther, c.ownRow, c.ownGreen, c.ownOther);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
