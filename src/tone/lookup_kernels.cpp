#include "tone/lookup_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "base/processor.h"

#include <algorithm>
#include <array>
#include <bit>

// Newer processors look up bytes in registers.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/lookup_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/vectors-inl.h"
// It uses the above.
#include "simd/byte_table-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void LookUpEach(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const T* table) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(dst, i, table[loadSample<T>(src, i)]);
}

static_assert(std::endian::native == std::endian::little, "samples are cut from words, lowest first");

/// Four samples from one load. Left to the compiler, the results would be gathered into vectors one by one,
/// which takes twice the time.
void LookUp16Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                 const std::uint16_t* table) noexcept
{
    const std::int64_t whole = samples - samples % 4;
    for (std::int64_t first = 0; first < whole; first += samplesPerFetch) {
        const std::int64_t end = std::min(first + samplesPerFetch, whole);
        fetchAhead<std::uint16_t, false>(src + 2 * first, end - first);
        fetchAhead<std::uint16_t, true>(dst + 2 * first, end - first);
        for (std::int64_t i = first; i < end; i += 4) {
            const auto word = loadSample<std::uint64_t>(src + 2 * i, 0);
            const std::uint16_t a = table[word & 0xFFFFU], b = table[word >> 16 & 0xFFFFU],
                                c = table[word >> 32 & 0xFFFFU], d = table[word >> 48];
            storeSample(dst, i, a);
            storeSample(dst, i + 1, b);
            storeSample(dst, i + 2, c);
            storeSample(dst, i + 3, d);
        }
    }
    LookUpEach<std::uint16_t>(src + 2 * whole, dst + 2 * whole, samples - whole, table);
}

#if HWY_TARGET == HWY_SCALAR

void LookUp8Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const std::uint8_t* table) noexcept
{
    LookUpEach<std::uint8_t>(src, dst, samples, table);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;

#if HWY_TARGET <= HWY_AVX3_DL

void LookUp8Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const std::uint8_t* table) noexcept
{
    const Bytes bytes;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(bytes));
    const ByteTable entries(table);
    for (std::int64_t x = 0; x < samples; x += step) {
        fetchAhead<std::uint8_t, false>(src + x, step);
        fetchAhead<std::uint8_t, true>(dst + x, step);
        const auto present = hn::FirstN(bytes, static_cast<std::size_t>(std::min(step, samples - x)));
        const auto at = hn::MaskedLoad(present, bytes, src + x);
        hn::BlendedStore(entries.At(at), present, bytes, dst + x);
    }
}

#elif HWY_ARCH_ARM_A64

/// A quarter of the table as the four registers of one look-up, which gives 0 for other quarters.
uint8x16x4_t Quarter(const std::uint8_t* table, int quarter) noexcept
{
    return vld1q_u8_x4(table + 64 * quarter);
}

void LookUp8Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const std::uint8_t* table) noexcept
{
    constexpr std::int64_t step = 16;
    const uint8x16x4_t first = Quarter(table, 0), second = Quarter(table, 1), third = Quarter(table, 2),
                       fourth = Quarter(table, 3);
    const uint8x16_t quarter = vdupq_n_u8(64);
    std::int64_t x = 0;
    for (; x + step <= samples; x += step) {
        uint8x16_t at = vld1q_u8(src + x);
        uint8x16_t entries = vqtbl4q_u8(first, at);
        at = vsubq_u8(at, quarter);
        entries = vqtbx4q_u8(entries, second, at);
        at = vsubq_u8(at, quarter);
        entries = vqtbx4q_u8(entries, third, at);
        at = vsubq_u8(at, quarter);
        vst1q_u8(dst + x, vqtbx4q_u8(entries, fourth, at));
    }
    LookUpEach<std::uint8_t>(src + x, dst + x, samples - x, table);
}

#else

using SignedBytes = hn::ScalableTag<std::int8_t>;

/// 256 entries as the differences of neighbouring sixteenths: each sixteenth is the exclusive or of itself
/// and of all before it in its half. So a sample takes every sixteenth up to its own and needs no test for
/// which one that is, other than the sign of its distance to the sixteenth's first level: byte shuffles give
/// 0 for negative positions.
class SplitTable {
public:
    explicit SplitTable(const std::uint8_t* table) noexcept
    {
        for (int i = 0; i < 256; ++i) {
            const bool opensHalf = i % 128 < 16;
            m_differences[i] = opensHalf ? table[i] : static_cast<std::uint8_t>(table[i] ^ table[i - 16]);
        }
    }

    hn::Vec<Bytes> at(hn::Vec<Bytes> samples) const noexcept
    {
        const Bytes bytes;
        return hn::Xor(half<0>(samples), half<8>(hn::Xor(samples, hn::Set(bytes, 128))));
    }

private:
    /// The entries of samples 0...127 from the eight sixteenths from number `First` on, 0 for others. Such
    /// others are negative as signed bytes and stay so when they are reduced with saturation.
    template <int First>
    hn::Vec<Bytes> half(hn::Vec<Bytes> samples) const noexcept
    {
        const auto even = hn::Xor(hn::Xor(sixteenth<First, 0>(samples), sixteenth<First, 2>(samples)),
                                  hn::Xor(sixteenth<First, 4>(samples), sixteenth<First, 6>(samples)));
        const auto odd = hn::Xor(hn::Xor(sixteenth<First, 1>(samples), sixteenth<First, 3>(samples)),
                                 hn::Xor(sixteenth<First, 5>(samples), sixteenth<First, 7>(samples)));
        return hn::Xor(even, odd);
    }

    template <int First, int Number>
    hn::Vec<Bytes> sixteenth(hn::Vec<Bytes> samples) const noexcept
    {
        const Bytes bytes;
        const SignedBytes distances;
        const auto distance = hn::SaturatedSub(hn::BitCast(distances, samples),
                                               hn::Set(distances, static_cast<std::int8_t>(16 * Number)));
        const auto entries = hn::LoadDup128(bytes, m_differences + 16 * (First + Number));
        return hn::TableLookupBytesOr0(entries, hn::BitCast(bytes, distance));
    }

    alignas(64) std::uint8_t m_differences[256];
};

void LookUp8Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                const std::uint8_t* table) noexcept
{
    const Bytes bytes;
    const auto step = static_cast<std::int64_t>(hn::Lanes(bytes));
    const std::int64_t vectored = samples < 4 * step ? 0 : samples - samples % step;
    if (vectored > 0) {
        const SplitTable split(table);
        for (std::int64_t x = 0; x < vectored; x += step) {
            fetchAhead<std::uint8_t, false>(src + x, step);
            fetchAhead<std::uint8_t, true>(dst + x, step);
            StoreAt(bytes, split.at(LoadAt(bytes, src + x)), dst + x);
        }
    }
    LookUpEach<std::uint8_t>(src + vectored, dst + vectored, samples - vectored, table);
}

#endif
#endif

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET <= HWY_AVX3_DL

/// Gathers read two entries, of which the first is the one: sixteen even samples and sixteen odd ones at
/// once.
void Gather16Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                 const std::uint16_t* table) noexcept
{
    const hn::ScalableTag<std::uint16_t> words;
    const hn::ScalableTag<std::uint32_t> pairs;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(words));
    const auto entries = [&](VecOf<decltype(pairs)> at) {
        return VecOf<decltype(pairs)>{_mm512_i32gather_epi32(at.raw, table, sizeof *table)};
    };
    std::int64_t x = 0;
    for (; x + step <= samples; x += step) {
        fetchAhead<std::uint16_t, false>(src + 2 * x, step);
        fetchAhead<std::uint16_t, true>(dst + 2 * x, step);
        const auto both = LoadAt(pairs, src + 2 * x);
        const auto even = entries(hn::And(both, hn::Set(pairs, 0xFFFF)));
        const auto odd = hn::ShiftLeft<16>(entries(hn::ShiftRight<16>(both)));
        StoreAt(words, hn::OddEven(hn::BitCast(words, odd), hn::BitCast(words, even)), dst + 2 * x);
    }
    LookUpEach<std::uint16_t>(src + 2 * x, dst + 2 * x, samples - x, table);
}

/// Gathers pay on the processors that have half-precision arithmetic. On older ones they take as long as
/// single loads, or several times as long where they were made safe afterwards.
LookUpRow<std::uint16_t> LookUp16() noexcept
{
    return hasHalfPrecision() ? &Gather16Row : &LookUp16Row;
}

#else

LookUpRow<std::uint16_t> LookUp16() noexcept
{
    return &LookUp16Row;
}

#endif

template <class T>
void LookUpColoursRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, std::int64_t channels,
                        const T* const* tables) noexcept
{
    const T *const first = tables[0], *const second = tables[1], *const third = tables[2];
    for (std::int64_t x = 0; x < width; ++x) {
        const std::int64_t at = x * channels;
        const T a = loadSample<T>(src, at), b = loadSample<T>(src, at + 1), c = loadSample<T>(src, at + 2);
        storeSample<T>(dst, at, first[a]);
        storeSample<T>(dst, at + 1, second[b]);
        storeSample<T>(dst, at + 2, third[c]);
    }
}

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET <= HWY_AVX3_DL

/// The lanes that hold each of three colours, for vectors that start with each channel of a pixel.
template <std::size_t Channels>
constexpr auto colourLanes = [] {
    std::array<std::array<std::uint64_t, 3>, Channels> lanes{};
    for (std::size_t start = 0; start < Channels; ++start) {
        for (std::size_t lane = 0; lane < 64; ++lane) {
            const std::size_t channel = (start + lane) % Channels;
            if (channel < 3)
                lanes[start][channel] |= std::uint64_t{1} << lane;
        }
    }
    return lanes;
}();

/// Looks every byte up in all tables, which takes less time than to bring the bytes of each colour together.
template <std::size_t Channels>
void LookUpPixels8(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                   const std::uint8_t* const* tables) noexcept
{
    const Bytes bytes;
    using Lanes = hn::Mask<Bytes>;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(bytes));
    const ByteTable first(tables[0]), second(tables[1]), third(tables[2]);
    std::size_t start = 0;
    for (std::int64_t x = 0; x < samples; x += step) {
        fetchAhead<std::uint8_t, false>(src + x, step);
        fetchAhead<std::uint8_t, true>(dst + x, step);
        const std::array<std::uint64_t, 3>& lanes = colourLanes<Channels>[start];
        const auto present = hn::FirstN(bytes, static_cast<std::size_t>(std::min(step, samples - x)));
        const auto at = hn::MaskedLoad(present, bytes, src + x);
        const auto two = hn::IfThenElse(Lanes{lanes[1]}, second.At(at), first.At(at));
        const auto three = hn::IfThenElse(Lanes{lanes[2]}, third.At(at), two);
        const Lanes colours{lanes[0] | lanes[1] | lanes[2]};
        hn::BlendedStore(three, hn::And(present, colours), bytes, dst + x);
        start = (start + step) % Channels;
    }
}

void LookUpColours8Row(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, std::int64_t channels,
                       const std::uint8_t* const* tables) noexcept
{
    if (channels == 3)
        LookUpPixels8<3>(src, dst, width * 3, tables);
    else
        LookUpPixels8<4>(src, dst, width * 4, tables);
}

constexpr auto lookUpColours8 = &LookUpColours8Row;

#else

constexpr auto lookUpColours8 = &LookUpColoursRowOf<std::uint8_t>;

#endif

const LookUpKernels& Kernels()
{
    static const LookUpKernels kernels{
        {&LookUp8Row, lookUpColours8},
        {LookUp16(), &LookUpColoursRowOf<std::uint16_t>},
    };
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
const LookUpKernels& lookUpKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
