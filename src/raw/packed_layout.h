// Where the bits of packed samples lie: the facts of each layout, and the tables that kernels make of them.
//
// All layouts but those of words repeat after eight samples at the latest, so the kernels work on blocks of
// eight samples. Each sample of a block is split in two parts that lie in one or two neighbouring bytes each.
#pragma once

#include <ko/raw.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

inline constexpr int blockSamples = 8;

/// A group is the least number of samples that fills whole bytes.
struct PackedGroup {
    int bits;      ///< of a sample
    int samples;   ///< in a group
    int bytes;     ///< of a group
    int highStep;  ///< bytes from the upper 8 bits of a sample to those of the next; 0: not apart
    int lowByte;   ///< first byte of the other bits
    int lowField;  ///< bits from the other bits of a sample to those of the next
};

inline constexpr std::array<PackedGroup, 8> packedGroups{{
    {10, 4, 5, 0, 0, 10},  // Mono10p
    {12, 2, 3, 0, 0, 12},  // Mono12p
    {14, 4, 7, 0, 0, 14},  // Mono14p
    {10, 2, 3, 2, 1, 4},   // Mono10Packed
    {12, 2, 3, 2, 1, 4},   // Mono12Packed
    {10, 4, 5, 1, 4, 2},   // Csi2Raw10
    {12, 2, 3, 1, 2, 4},   // Csi2Raw12
    {14, 4, 7, 1, 4, 6},   // Csi2Raw14
}};

constexpr bool isPacked(ExPackedLayout layout) noexcept
{
    return layout >= Mono10p && layout <= Csi2Raw14;
}

constexpr const PackedGroup& groupOf(ExPackedLayout layout) noexcept
{
    return packedGroups[static_cast<std::size_t>(layout)];
}

/// Index of a byte that is always 0, as shuffles of vectors know it.
inline constexpr std::uint8_t noByte = 0x80;

/// Sample i of a block is ((low[i] * lowFactor[i]) >> 8 & lowMask) | (high[i] * highFactor[i] & highMask),
/// where low and high are words of the bytes that the indices name and products keep their low 16 bits.
struct UnpackTable {
    std::array<std::uint8_t, 16> low, high;
    std::array<std::uint16_t, blockSamples> lowFactor, highFactor;
    std::uint16_t lowMask, highMask;
    int blockBytes;
};

constexpr UnpackTable unpackTable(const PackedGroup& group) noexcept
{
    UnpackTable table{};
    table.blockBytes = blockSamples / group.samples * group.bytes;
    const auto byteAt = [&](int byte) {
        return byte < table.blockBytes ? static_cast<std::uint8_t>(byte) : noByte;
    };
    const int lowBits = group.highStep == 0 ? group.bits : group.bits - 8;
    table.lowMask = static_cast<std::uint16_t>((1 << lowBits) - 1) & 0xFF;
    table.highMask = static_cast<std::uint16_t>((1 << group.bits) - 1 - table.lowMask);
    for (int i = 0; i < blockSamples; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const int first = i / group.samples * group.bytes, inGroup = i % group.samples;
        const int bit = inGroup * group.lowField, byte = first + group.lowByte + bit / 8;
        table.low[2 * at] = byteAt(byte);
        table.low[2 * at + 1] = byteAt(byte + 1);
        table.lowFactor[at] = static_cast<std::uint16_t>(1 << (8 - bit % 8));
        if (group.highStep == 0) {
            table.high[2 * at] = byteAt(byte + 1);
            table.high[2 * at + 1] = byteAt(byte + 2);
            table.highFactor[at] = table.lowFactor[at];
        } else {
            table.high[2 * at] = byteAt(first + inGroup * group.highStep);
            table.high[2 * at + 1] = noByte;
            table.highFactor[at] = static_cast<std::uint16_t>(1 << lowBits);
        }
    }
    return table;
}

/// A block of bytes is made of the samples shifted right by `highShift`, and of strings of bits: the low bits
/// of four samples each, `lowField` bits apart, in 8 bytes. Byte j is byte high[j] of the ones or'ed with
/// byte low[j] of the others. The tables go on for four blocks, the bytes of each without gaps behind the last.
struct PackTable {
    std::array<std::uint8_t, 64> low, high;
    bool hasHighs;  ///< not all bits are in the strings
    int lowField, highShift;
    std::uint16_t lowMask;
    int blockBytes;
};

constexpr PackTable packTable(const PackedGroup& group) noexcept
{
    PackTable table{};
    table.low.fill(noByte);
    table.high.fill(noByte);
    table.blockBytes = blockSamples / group.samples * group.bytes;
    table.hasHighs = group.highStep != 0;
    table.lowField = group.lowField;
    table.highShift = group.bits - 8;
    table.lowMask =
        static_cast<std::uint16_t>((1 << (group.highStep == 0 ? group.bits : group.bits - 8)) - 1);
    for (int first = 0; first < blockSamples; first += group.samples) {
        const int block = first / group.samples * group.bytes;
        for (int i = 0; i < group.samples && group.highStep != 0; ++i) {
            const int high = block + i * group.highStep;
            table.high[static_cast<std::size_t>(high)] = static_cast<std::uint8_t>(2 * (first + i));
        }
        const int lowBytes = (group.samples * group.lowField + 7) / 8;
        for (int byte = 0; byte < lowBytes; ++byte) {
            const int low = block + group.lowByte + byte;
            table.low[static_cast<std::size_t>(low)] =
                static_cast<std::uint8_t>(first / 4 * 8 + first % 4 * group.lowField / 8 + byte);
        }
    }
    for (int byte = table.blockBytes; byte < 4 * table.blockBytes; ++byte) {
        const auto at = static_cast<std::size_t>(byte);
        const auto before = static_cast<std::size_t>(byte - table.blockBytes);
        for (auto* const indices : {&table.low, &table.high})
            (*indices)[at] = (*indices)[before] == noByte
                                 ? noByte
                                 : static_cast<std::uint8_t>((*indices)[before] + 2 * blockSamples);
    }
    return table;
}

}  // namespace ko
