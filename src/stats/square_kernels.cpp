#include "stats/square_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>

// Newer processors take bytes from anywhere in two vectors.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/square_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/channel_rows-inl.h"
#include "stats/selected-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void AddRest(const std::uint8_t* row, std::int64_t from, std::int64_t samples, std::uint64_t* sums) noexcept
{
    for (std::int64_t i = from; i < samples; ++i) {
        const std::uint64_t sample = loadSample<T>(row, i);
        sums[0] += sample;
        sums[1] += sample * sample;
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void AddRows(const SquareRows& rows, std::uint64_t* sums) noexcept
{
    for (std::int64_t y = 0; y < rows.rows; ++y)
        AddRest<T>(rows.first + y * rows.pitch, 0, rows.samples, sums);
}

#else

using Byte = hn::ScalableTag<std::uint8_t>;
using Word = hn::ScalableTag<std::uint16_t>;
using Factor = hn::ScalableTag<std::int16_t>;
using Product = hn::ScalableTag<std::int32_t>;
using Total = hn::ScalableTag<std::uint64_t>;

/// Sums that are not negative, in lanes of 64 bits.
HWY_INLINE hn::Vec<Total> Widened(hn::Vec<Product> sums, hn::Vec<Product> more) noexcept
{
    const Total d;
    const auto low = hn::Set(d, 0xFFFFFFFFU);
    const auto a = hn::BitCast(d, sums), b = hn::BitCast(d, more);
    return hn::Add(hn::Add(hn::And(a, low), hn::ShiftRight<32>(a)),
                   hn::Add(hn::And(b, low), hn::ShiftRight<32>(b)));
}

/// Sums of samples, of the low halves of words, and of squares.
struct Sums {
    hn::Vec<Total> all, lowHalves, squares;
};

/// Adds whole vectors and returns how many samples they have. Products of bytes are added up in 32 bits. Bytes that are
/// samples stand in the low and the high halves of words; words are 256 * high + low, and their squares
/// 65536 * high^2 + 512 * high * low + low^2.
template <class T>
HWY_INLINE std::int64_t AddVectors(const std::uint8_t* row, std::int64_t samples, Sums& sums) noexcept
{
    const Byte bytes;
    const Word words;
    const Factor factors;
    const Product products;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(hn::ScalableTag<T>{}));
    // Each vector adds at most two products to a lane: 2 * 255^2 * 8192 is below 2^31.
    constexpr std::int64_t vectorsPerFlush = 8192;
    std::int64_t at = 0;
    while (at + step <= samples) {
        auto low = hn::Zero(products), lowMore = low, high = low, highMore = low, both = low, bothMore = low;
        const std::int64_t end = at + std::min((samples - at) / step, vectorsPerFlush) * step;
        for (; at < end; at += step) {
            const std::uint8_t* const here = row + at * std::int64_t{sizeof(T)};
            fetchAhead<T, false>(here, step);
            const auto read = hn::LoadU(bytes, here);
            const auto pairs = hn::BitCast(words, read);
            const auto lows = hn::BitCast(factors, hn::And(pairs, hn::Set(words, 0xFF)));
            const auto highs = hn::BitCast(factors, hn::ShiftRight<8>(pairs));
            sums.all = hn::Add(sums.all, hn::SumsOf8(read));
            low = hn::ReorderWidenMulAccumulate(products, lows, lows, low, lowMore);
            high = hn::ReorderWidenMulAccumulate(products, highs, highs, high, highMore);
            if constexpr (sizeof(T) == 2) {
                sums.lowHalves = hn::Add(sums.lowHalves, hn::SumsOf8(hn::BitCast(bytes, lows)));
                both = hn::ReorderWidenMulAccumulate(products, lows, highs, both, bothMore);
            }
        }
        const auto highSquares = Widened(high, highMore);
        sums.squares = hn::Add(sums.squares, Widened(low, lowMore));
        sums.squares = hn::Add(sums.squares, sizeof(T) == 2 ? hn::ShiftLeft<16>(highSquares) : highSquares);
        if constexpr (sizeof(T) == 2)
            sums.squares = hn::Add(sums.squares, hn::ShiftLeft<9>(Widened(both, bothMore)));
    }
    return at;
}

template <class T>
void AddRows(const SquareRows& rows, std::uint64_t* sums) noexcept
{
    const auto zero = hn::Zero(Total{});
    Sums vectors{zero, zero, zero};
    for (std::int64_t y = 0; y < rows.rows; ++y) {
        const std::uint8_t* const row = rows.first + y * rows.pitch;
        const std::int64_t added = AddVectors<T>(row, rows.samples, vectors);
        AddRest<T>(row, added, rows.samples, sums);
    }
    const std::uint64_t sum = hn::GetLane(hn::SumOfLanes(Total{}, vectors.all));
    const std::uint64_t lowSum = hn::GetLane(hn::SumOfLanes(Total{}, vectors.lowHalves));
    sums[0] += sizeof(T) == 1 ? sum : ((sum - lowSum) << 8) + lowSum;
    sums[1] += hn::GetLane(hn::SumOfLanes(Total{}, vectors.squares));
}

#endif

template <class T>
std::int64_t RowSelect(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t samples,
                       std::uint8_t* out) noexcept
{
    std::uint64_t selected = 0;
    std::int64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(d));
    for (; i + step <= samples; i += step)
        hn::StoreU(Selected<T>(row, mask, i, 0, selected), d, reinterpret_cast<T*>(out) + i);
#endif
    for (; i < samples; ++i) {
        selected += mask[i] != 0 ? 1 : 0;
        storeSample<T>(out, i, mask[i] != 0 ? loadSample<T>(row, i) : T{0});
    }
    return static_cast<std::int64_t>(selected);
}

const SquareKernels& Kernels()
{
    static constexpr SquareKernels kernels{{&AddRows<std::uint8_t>, &AddRows<std::uint16_t>},
                                           {&GatherRowOf<std::uint8_t>, &GatherRowOf<std::uint16_t>},
                                           {&RowSelect<std::uint8_t>, &RowSelect<std::uint16_t>}};
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
const SquareKernels& squareKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
