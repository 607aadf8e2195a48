#include "stats/select_kernels.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/select_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef KO_SELECT_ORDERS
#define KO_SELECT_ORDERS
namespace ko {
namespace {

constexpr int groupSize = 8;
constexpr int blockSize = 64;

/// For every set of eight samples, the byte order that moves its members to the front.
template <class T>
using SelectOrders = std::array<std::array<std::uint8_t, groupSize * sizeof(T)>, 256>;

template <class T>
constexpr SelectOrders<T> makeSelectOrders()
{
    SelectOrders<T> orders{};
    for (unsigned set = 0; set < 256; ++set) {
        std::size_t to = 0;
        for (unsigned i = 0; i < groupSize; ++i) {
            if ((set >> i & 1U) == 0)
                continue;
            for (std::size_t byte = 0; byte < sizeof(T); ++byte)
                orders[set][to++] = static_cast<std::uint8_t>(i * sizeof(T) + byte);
        }
    }
    return orders;
}

template <class T>
[[maybe_unused]] constexpr SelectOrders<T> selectOrders = makeSelectOrders<T>();

}  // namespace
}  // namespace ko
#endif

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;

/// Bit i tells whether byte i of a block is not zero.
std::uint64_t SelectedBits(const std::uint8_t* mask) noexcept
{
    const hn::ScalableTag<std::uint8_t> d;
    constexpr std::size_t lanes = HWY_LANES(std::uint8_t);
    static_assert(blockSize % lanes == 0);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < blockSize; i += lanes) {
        const auto selected = hn::Ne(hn::LoadU(d, mask + i), hn::Zero(d));
        hn::StoreMaskBits(d, selected, reinterpret_cast<std::uint8_t*>(&bits) + i / 8);
    }
    return bits;
}

/// A block whose samples are all selected. It may overlap its destination, so that all is read first.
template <class T>
std::uint8_t* MoveBlock(const std::uint8_t* samples, std::uint8_t* to) noexcept
{
    const hn::ScalableTag<std::uint8_t> d;
    constexpr std::size_t lanes = HWY_LANES(std::uint8_t), bytes = blockSize * sizeof(T);
    hn::Vec<decltype(d)> vectors[bytes / lanes];
    for (std::size_t i = 0; i < bytes / lanes; ++i)
        vectors[i] = hn::LoadU(d, samples + i * lanes);
    for (std::size_t i = 0; i < bytes / lanes; ++i)
        hn::StoreU(vectors[i], d, to + i * lanes);
    return to + bytes;
}

/// The mixed case: eight samples at a time, moved together by one byte shuffle.
template <class T>
std::uint8_t* SelectBlock(const std::uint8_t* samples, std::uint64_t bits, std::uint8_t* to) noexcept
{
    const hn::FixedTag<std::uint8_t, groupSize * sizeof(T)> d;
    for (int group = 0; group < blockSize / groupSize; ++group) {
        const auto set = static_cast<std::uint8_t>(bits >> (group * groupSize));
        const auto order = hn::LoadU(d, selectOrders<T>[set].data());
        const auto values = hn::LoadU(d, samples + static_cast<std::size_t>(group) * groupSize * sizeof(T));
        hn::StoreU(hn::TableLookupBytes(values, order), d, to);
        to += static_cast<std::size_t>(std::popcount(set)) * sizeof(T);
    }
    return to;
}
#endif

template <class T>
std::int64_t SelectRunOf(const std::uint8_t* samples, const std::uint8_t* mask, std::int64_t count,
                         std::uint8_t* out) noexcept
{
    std::uint8_t* to = out;
    std::int64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    for (; i + blockSize <= count; i += blockSize) {
        const std::uint64_t bits = SelectedBits(mask + i);
        const std::uint8_t* const from = samples + i * static_cast<std::int64_t>(sizeof(T));
        if (bits == ~std::uint64_t{0})
            to = MoveBlock<T>(from, to);
        else if (bits != 0)
            to = SelectBlock<T>(from, bits, to);
    }
#endif
    // Written before it is known to be selected, and overwritten if it was not: noise masks defeat branches.
    for (; i < count; ++i) {
        std::memmove(to, samples + i * static_cast<std::int64_t>(sizeof(T)), sizeof(T));
        to += mask[i] != 0 ? sizeof(T) : 0;
    }
    return (to - out) / static_cast<std::int64_t>(sizeof(T));
}

#if HWY_TARGET != HWY_SCALAR
/// Spreads whole vectors of the mask; returns the pixels taken.
template <int Channels>
std::int64_t SpreadVectors(const std::uint8_t* mask, std::int64_t pixels, std::uint8_t* out) noexcept
{
    const hn::ScalableTag<std::uint8_t> d;
    constexpr std::int64_t lanes = HWY_LANES(std::uint8_t);
    std::int64_t x = 0;
    for (; x + lanes <= pixels; x += lanes) {
        const auto v = hn::LoadU(d, mask + x);
        if constexpr (Channels == 3)
            hn::StoreInterleaved3(v, v, v, d, out + x * Channels);
        else
            hn::StoreInterleaved4(v, v, v, v, d, out + x * Channels);
    }
    return x;
}
#endif

void SpreadMaskRow(const std::uint8_t* mask, std::int64_t pixels, std::int64_t channels,
                   std::uint8_t* out) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    if (channels == 3)
        x = SpreadVectors<3>(mask, pixels, out);
    else if (channels == 4)
        x = SpreadVectors<4>(mask, pixels, out);
#endif
    for (; x < pixels; ++x)
        std::memset(out + x * channels, mask[x], static_cast<std::size_t>(channels));
}

const SelectKernels& Kernels()
{
    static constexpr SelectKernels kernels{{&SelectRunOf<std::uint8_t>, &SelectRunOf<std::uint16_t>},
                                           &SpreadMaskRow};
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
const SelectKernels& selectKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
