#include "raw/packed_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <cstring>

// Newer processors take bytes from anywhere in a vector.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raw/packed_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

constexpr std::int64_t sampleBytes = 2;
constexpr std::int64_t vectorBytes = 16;

#if HWY_TARGET == HWY_SCALAR

struct Unpacker {
    explicit Unpacker(const UnpackTable& t) : table(t) {}

    /// A block of eight samples from 16 readable bytes.
    void Block(const std::uint8_t* packed, std::uint8_t* samples) const
    {
        const auto byte = [&](std::uint8_t index) { return index == noByte ? 0U : packed[index]; };
        for (std::size_t i = 0; i < blockSamples; ++i) {
            const unsigned low = byte(table.low[2 * i]) | byte(table.low[2 * i + 1]) << 8;
            const unsigned high = byte(table.high[2 * i]) | byte(table.high[2 * i + 1]) << 8;
            const unsigned sample = ((low * table.lowFactor[i]) >> 8 & table.lowMask) |
                                    (high * table.highFactor[i] & table.highMask);
            storeSample(samples, static_cast<std::int64_t>(i), static_cast<std::uint16_t>(sample));
        }
    }

    const UnpackTable& table;
};

template <bool>
struct Packer {
    Packer(const PackTable& t, std::uint16_t highest) : table(t), top(highest) {}

    /// A block of eight samples into 16 writable bytes.
    void Block(const std::uint8_t* samples, std::uint8_t* packed) const
    {
        std::uint64_t strings[2] = {};
        unsigned highs[blockSamples];
        for (int i = 0; i < blockSamples; ++i) {
            const unsigned sample = std::min(loadSample<std::uint16_t>(samples, i), top);
            strings[i / 4] |= std::uint64_t{sample & table.lowMask} << (i % 4 * table.lowField);
            highs[i] = sample >> table.highShift;
        }
        for (std::size_t j = 0; j < static_cast<std::size_t>(table.blockBytes); ++j) {
            const unsigned high = table.high[j], low = table.low[j];
            packed[j] = static_cast<std::uint8_t>((high == noByte ? 0 : highs[high / 2]) |
                                                  (low == noByte ? 0 : strings[low / 8] >> low % 8 * 8));
        }
    }

    const PackTable& table;
    const std::uint16_t top;
};

#else

namespace hn = hwy::HWY_NAMESPACE;

/// Blocks of eight samples, one per 16 bytes of a vector.
template <class D>
std::int64_t BlocksOf(D d)
{
    return static_cast<std::int64_t>(hn::Lanes(d)) / blockSamples;
}

using OneBlock = hn::Full128<std::uint16_t>;
using TwoBlocks = hn::CappedTag<std::uint16_t, 2 * blockSamples>;

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

/// Bytes are taken from anywhere in four blocks, and packed ones come out without gaps.
using PackedTogether = hn::CappedTag<std::uint16_t, 4 * blockSamples>;

VecOf<PackedTogether> Shuffled(PackedTogether d, VecOf<PackedTogether> v, VecOf<PackedTogether> indices)
{
    const hn::Repartition<std::uint8_t, PackedTogether> bytes;
    const VecOf<decltype(bytes)> taken{_mm512_permutexvar_epi8(indices.raw, v.raw)};
    return hn::BitCast(d, hn::IfThenZeroElse(hn::MaskFromVec(hn::BitCast(bytes, indices)), taken));
}

#else
using PackedTogether = TwoBlocks;
#endif

/// 16 bytes from each of the blocks, which are `step` bytes apart.
template <class D>
VecOf<D> LoadBlocks(D d, const std::uint8_t* from, std::int64_t step)
{
    if constexpr (hn::MaxLanes(D()) == blockSamples) {
        return LoadAt(d, from);
    } else {
        const hn::Half<D> half;
        return hn::Combine(d, LoadAt(half, from + step), LoadAt(half, from));
    }
}

/// The blocks in the order of their addresses: each overwrites what the one before has written too much.
template <class D>
void StoreBlocks(D d, VecOf<D> v, std::uint8_t* to, std::int64_t step)
{
    if constexpr (hn::MaxLanes(D()) != 2 * blockSamples) {
        StoreAt(d, v, to);
    } else {
        const hn::Half<D> half;
        StoreAt(half, hn::LowerHalf(half, v), to);
        StoreAt(half, hn::UpperHalf(half, v), to + step);
    }
}

template <class D>
VecOf<D> Shuffled(D d, VecOf<D> v, VecOf<D> indices)
{
    const hn::Repartition<std::uint8_t, D> bytes;
    return hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(bytes, v), hn::BitCast(bytes, indices)));
}

template <class D, class T, std::size_t N>
VecOf<D> InEveryBlock(D d, const std::array<T, N>& words)
{
    static_assert(N * sizeof(T) == vectorBytes);
    alignas(vectorBytes) std::uint16_t copy[blockSamples];
    std::memcpy(copy, words.data(), sizeof(copy));
    return hn::LoadDup128(d, copy);
}

template <class D>
struct UnpackerOf {
    explicit UnpackerOf(const UnpackTable& table)
        : low(InEveryBlock(d, table.low)),
          high(InEveryBlock(d, table.high)),
          lowFactor(InEveryBlock(d, table.lowFactor)),
          highFactor(InEveryBlock(d, table.highFactor)),
          lowMask(hn::Set(d, table.lowMask)),
          highMask(hn::Set(d, table.highMask)),
          step(table.blockBytes)
    {
    }

    void Block(const std::uint8_t* packed, std::uint8_t* samples) const
    {
        const auto bytes = LoadBlocks(d, packed, step);
        const auto lows = hn::ShiftRight<8>(hn::Mul(Shuffled(d, bytes, low), lowFactor));
        const auto highs = hn::Mul(Shuffled(d, bytes, high), highFactor);
        StoreAt(d, hn::Or(hn::And(lows, lowMask), hn::And(highs, highMask)), samples);
    }

    D d;
    VecOf<D> low, high, lowFactor, highFactor, lowMask, highMask;
    std::int64_t step;
};

/// `HasHighs` as in the table.
template <class D, bool HasHighs>
struct PackerOf {
    using Pairs = hn::RepartitionToWide<D>;
    using Fours = hn::RepartitionToWide<Pairs>;
    /// Blocks come out without gaps.
    static constexpr bool isDense = hn::MaxLanes(D()) == 4 * blockSamples;

    PackerOf(const PackTable& table, std::uint16_t highest)
        : low(IndicesIn(table.low)),
          high(IndicesIn(table.high)),
          lowMask(hn::Set(d, table.lowMask)),
          top(hn::Set(d, highest)),
          pairFactors(hn::BitCast(d, hn::Set(Pairs(), 1U | 1U << (16 + table.lowField)))),
          highFactor(hn::Set(d, static_cast<std::uint16_t>(1U << (16 - table.highShift)))),
          moved(hn::BitCast(d, hn::Set(Pairs(), 0U - (1U << 2 * table.lowField)))),
          step(table.blockBytes)
    {
    }

    VecOf<D> IndicesIn(const std::array<std::uint8_t, 64>& indices) const
    {
        if constexpr (isDense) {
            return LoadAt(d, indices.data());
        } else {
            std::array<std::uint8_t, vectorBytes> first;
            std::memcpy(first.data(), indices.data(), first.size());
            return InEveryBlock(d, first);
        }
    }

    /// The fields of four words side by side in 8 bytes. Fields have at most 14 bits.
    VecOf<D> Strings(VecOf<D> words) const
    {
        const hn::RebindToSigned<D> d16;
        const hn::RebindToSigned<Pairs> d32;
        auto none = hn::Zero(d32);
        const auto pairs = hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, words),
                                                         hn::BitCast(d16, pairFactors), hn::Zero(d32), none);
        const auto fours = hn::BitCast(Fours(), hn::RearrangeToOddPlusEven(pairs, none));
        // The upper half moves down to the end of the lower one.
        const auto uppers = hn::BitCast(Pairs(), hn::ShiftRight<32>(fours));
        return hn::BitCast(d, hn::Sub(fours, hn::MulEven(uppers, hn::BitCast(Pairs(), moved))));
    }

    VecOf<D> Packed(const std::uint8_t* samples) const
    {
        const auto words = hn::Min(LoadAt(d, samples), top);
        if constexpr (!HasHighs)
            return Shuffled(d, Strings(words), low);
        const auto highs = Shuffled(d, hn::MulHigh(words, highFactor), high);
        return hn::Or(highs, Shuffled(d, Strings(hn::And(words, lowMask)), low));
    }

    void Block(const std::uint8_t* samples, std::uint8_t* packed) const
    {
        StoreBlocks(d, Packed(samples), packed, step);
    }

    D d;
    VecOf<D> low, high, lowMask, top, pairFactors, highFactor, moved;
    std::int64_t step;
};

using Unpacker = UnpackerOf<OneBlock>;
template <bool HasHighs>
using Packer = PackerOf<OneBlock, HasHighs>;

#endif

void Unpack(const std::uint8_t* packed, std::int64_t rowBytes, std::uint8_t* samples, std::int64_t width,
            const UnpackTable& table) noexcept
{
    const std::int64_t step = table.blockBytes;
    std::int64_t x = 0, at = 0;
#if HWY_TARGET != HWY_SCALAR
    const UnpackerOf<TwoBlocks> many(table);
    const std::int64_t blocks = BlocksOf(TwoBlocks());
    for (; at + (blocks - 1) * step + vectorBytes <= rowBytes && x + blocks * blockSamples <= width;
         x += blocks * blockSamples, at += blocks * step)
        many.Block(packed + at, samples + x * sampleBytes);
#endif
    const Unpacker one(table);
    for (; at + vectorBytes <= rowBytes && x + blockSamples <= width; x += blockSamples, at += step)
        one.Block(packed + at, samples + x * sampleBytes);
    for (; x < width; x += blockSamples, at += step) {
        std::uint8_t bytes[vectorBytes] = {}, words[vectorBytes];
        std::memcpy(bytes, packed + at, static_cast<std::size_t>(std::min(vectorBytes, rowBytes - at)));
        one.Block(bytes, words);
        std::memcpy(samples + x * sampleBytes, words,
                    static_cast<std::size_t>(std::min(vectorBytes, (width - x) * sampleBytes)));
    }
}

template <bool HasHighs>
void PackRow(const std::uint8_t* samples, std::int64_t width, std::uint8_t* packed, std::int64_t rowBytes,
             const PackTable& table, std::uint16_t top)
{
    const std::int64_t step = table.blockBytes;
    std::int64_t x = 0, at = 0;
#if HWY_TARGET != HWY_SCALAR
    using Many = PackerOf<PackedTogether, HasHighs>;
    const Many many(table, top);
    const std::int64_t blocks = BlocksOf(PackedTogether());
    const std::int64_t written = Many::isDense ? blocks * vectorBytes : (blocks - 1) * step + vectorBytes;
    for (; at + written <= rowBytes && x + blocks * blockSamples <= width;
         x += blocks * blockSamples, at += blocks * step)
        many.Block(samples + x * sampleBytes, packed + at);
#endif
    const Packer<HasHighs> one(table, top);
    for (; at + vectorBytes <= rowBytes && x + blockSamples <= width; x += blockSamples, at += step)
        one.Block(samples + x * sampleBytes, packed + at);
    for (; x < width; x += blockSamples, at += step) {
        std::uint8_t words[vectorBytes] = {}, bytes[vectorBytes];
        std::memcpy(words, samples + x * sampleBytes,
                    static_cast<std::size_t>(std::min(vectorBytes, (width - x) * sampleBytes)));
        one.Block(words, bytes);
        std::memcpy(packed + at, bytes, static_cast<std::size_t>(std::min(step, rowBytes - at)));
    }
}

void Pack(const std::uint8_t* samples, std::int64_t width, std::uint8_t* packed, std::int64_t rowBytes,
          const PackTable& table, std::uint16_t top) noexcept
{
    if (table.hasHighs)
        PackRow<true>(samples, width, packed, rowBytes, table, top);
    else
        PackRow<false>(samples, width, packed, rowBytes, table, top);
}

/// Runs `operation` on every sample of a row.
template <class Operation>
HWY_INLINE void EachSample(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                           const Operation& operation)
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x)
        storeSample(dst, x, static_cast<std::uint16_t>(operation(loadSample<std::uint16_t>(src, x))));
}

void SwapBytes(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, std::uint16_t top) noexcept
{
    EachSample(src, dst, width, [=](std::uint16_t v) HWY_ATTR {
        const std::uint16_t limited = std::min(v, top);
        return limited >> 8 | limited << 8;
    });
}

void ShiftDown(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, int bits) noexcept
{
    EachSample(src, dst, width, [=](std::uint16_t v) HWY_ATTR { return v >> bits; });
}

void ShiftUp(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, int bits,
             std::uint16_t top) noexcept
{
    EachSample(src, dst, width, [=](std::uint16_t v) HWY_ATTR { return std::min(v, top) << bits; });
}

const PackedKernels& Kernels()
{
    static constexpr PackedKernels kernels{&Unpack, &Pack, &SwapBytes, &ShiftDown, &ShiftUp};
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
const PackedKernels& packedKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
