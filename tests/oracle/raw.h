// Naive twins of the packed layouts, bit by bit, and of the white balance.
#pragma once

#include "support/test_image.h"

#include <ko/raw.h>

#include <cmath>
#include <vector>

namespace ko::oracle {

/// Where bit `bit` of sample `i` lies in its row, counted in bits from the least significant one of the first
/// byte. `depth` counts for words alone.
inline int packedBit(ExPackedLayout layout, int i, int bit, int depth)
{
    const auto inByte = [](int byte, int position) { return 8 * byte + position; };
    const int pair = i / 2 * 3, inPair = i % 2, inFour = i % 4;
    switch (layout) {
    case Mono10p:
        return 10 * i + bit;
    case Mono12p:
        return 12 * i + bit;
    case Mono14p:
        return 14 * i + bit;
    case Mono10Packed:
        return bit < 2 ? inByte(pair + 1, 4 * inPair + bit) : inByte(pair + 2 * inPair, bit - 2);
    case Mono12Packed:
        return bit < 4 ? inByte(pair + 1, 4 * inPair + bit) : inByte(pair + 2 * inPair, bit - 4);
    case Csi2Raw10:
        return bit < 2 ? inByte(i / 4 * 5 + 4, 2 * inFour + bit) : inByte(i / 4 * 5 + inFour, bit - 2);
    case Csi2Raw12:
        return bit < 4 ? inByte(pair + 2, 4 * inPair + bit) : inByte(pair + inPair, bit - 4);
    case Csi2Raw14:
        return bit < 6 ? inByte(i / 4 * 7 + 4, 6 * inFour + bit) : inByte(i / 4 * 7 + inFour, bit - 6);
    case Mono16BigEndian:
        return bit < 8 ? inByte(2 * i + 1, bit) : inByte(2 * i, bit - 8);
    case Mono16MsbAligned:
        return 16 * i + 16 - depth + bit;
    }
    return -1;
}

/// The bits of a sample that a row has.
inline int bitsInRow(ExPackedLayout layout, int depth)
{
    return layout == Mono16BigEndian ? 16 : depth;
}

inline std::uint16_t unpackedSample(const std::uint8_t* row, ExPackedLayout layout, int i, int depth)
{
    int sample = 0;
    for (int bit = 0; bit < bitsInRow(layout, depth); ++bit) {
        const int at = packedBit(layout, i, bit, depth);
        sample |= (row[at / 8] >> at % 8 & 1) << bit;
    }
    return static_cast<std::uint16_t>(sample);
}

inline void unpack(const std::uint8_t* data, std::size_t pitch, ExPackedLayout layout, test::TestImage& dst)
{
    dst.forEachSample([&](int x, int y, int) {
        dst.set(
            x, y,
            unpackedSample(data + static_cast<std::size_t>(y) * pitch, layout, x, dst.buf().bitsPerSample));
    });
}

/// The first `rowBytes` bytes of every row are written.
inline void pack(const test::TestImage& src, ExPackedLayout layout, std::uint8_t* data, std::size_t rowBytes,
                 std::size_t pitch)
{
    const int depth = src.buf().bitsPerSample;
    const int top = (1 << depth) - 1;
    for (int y = 0; y < src.buf().height; ++y) {
        std::uint8_t* const row = data + static_cast<std::size_t>(y) * pitch;
        std::fill_n(row, rowBytes, std::uint8_t{0});
        for (int x = 0; x < src.buf().width; ++x) {
            const int sample = std::min<int>(src.get<std::uint16_t>(x, y), top);
            for (int bit = 0; bit < bitsInRow(layout, depth); ++bit) {
                const int at = packedBit(layout, x, bit, depth);
                row[at / 8] = static_cast<std::uint8_t>(row[at / 8] | (sample >> bit & 1) << at % 8);
            }
        }
    }
}

template <class T>
void whiteBalance(const test::TestImage& src, test::TestImage& dst, const std::vector<double>& gains,
                  const std::vector<int>& blackLevels)
{
    const bool mosaic = src.buf().channels == 1 && src.buf().bayerGrid != BayerNone;
    const int bits = std::clamp(dst.buf().bitsPerSample, 0, 8 * int(sizeof(T)));
    src.forEachSample([&](int x, int y, int c) {
        const auto colour = static_cast<std::size_t>(mosaic ? x % 2 + 2 * (y % 2) : c);
        const int black = blackLevels.empty() ? 0 : blackLevels[colour];
        const int light = std::max(int{src.get<T>(x, y, c)} - black, 0);
        const double gain = std::floor(gains[colour] * 65536 + 0.5) / 65536;
        const double balanced = std::floor(light * gain + 0.5);
        dst.set(x, y, c, static_cast<T>(std::min(balanced, std::pow(2.0, bits) - 1)));
    });
}

}  // namespace ko::oracle
