// Naive twins of the contrast operations, for levels that are in range and images that fit each other.
#pragma once

#include "support/test_image.h"

#include <cmath>

namespace ko::oracle {

/// A sample of one or two bytes, read without sign.
inline int levelAt(const test::TestImage& image, int x, int y, int c)
{
    return bytesPerSample(image.buf().dataType) == 1 ? int{image.get<std::uint8_t>(x, y, c)}
                                                     : int{image.get<std::uint16_t>(x, y, c)};
}

inline void setLevel(test::TestImage& image, int x, int y, int c, int level)
{
    if (bytesPerSample(image.buf().dataType) == 1)
        image.set<std::uint8_t>(x, y, c, static_cast<std::uint8_t>(level));
    else
        image.set<std::uint16_t>(x, y, c, static_cast<std::uint16_t>(level));
}

inline int topLevel(const test::TestImage& image)
{
    return static_cast<int>(std::pow(2.0, image.buf().bitsPerSample)) - 1;
}

inline bool isSelected(const test::TestImage* mask, int x, int y)
{
    return mask == nullptr || mask->get<std::uint8_t>(x, y) != 0;
}

inline int stretched(double level, int low, int high, int top)
{
    if (low == high)
        return 0;
    const double scale = static_cast<double>(top) / (high - low);
    const double product = std::trunc((level - low) * scale);
    return product < 0 || product > top ? 0 : static_cast<int>(product);
}

inline int compressed(int level, int low, int high, int top)
{
    if (level < low || level > high || low == high)
        return 0;
    return static_cast<int>((level - low) / (static_cast<double>(top) / (high - low)));
}

inline void stretch(const test::TestImage& src, int srcChannel, test::TestImage& dst, int dstChannel,
                    const test::TestImage* mask, int low, int high)
{
    const int top = topLevel(src);
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (isSelected(mask, x, y))
                setLevel(dst, x, y, dstChannel, stretched(levelAt(src, x, y, srcChannel), low, high, top));
}

/// One pixel of colour, or of gray where count is 1.
inline void compressPixel(test::TestImage& dst, int x, int y, const int* levels, int count, int low, int high,
                          int top)
{
    bool inside = true;
    for (int c = 0; c < count; ++c)
        inside = inside && levels[c] >= low && levels[c] <= high;
    for (int c = 0; c < count && c < dst.buf().channels; ++c)
        setLevel(dst, x, y, c, inside ? compressed(levels[c], low, high, top) : 0);
}

inline void compress(const test::TestImage& src, test::TestImage& dst, const test::TestImage* mask, int low,
                     int high)
{
    if (src.buf().channels == 2)
        return;
    const int count = src.buf().channels == 1 ? 1 : 3, top = topLevel(src);
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x) {
            int levels[3] = {};
            for (int c = 0; c < count; ++c)
                levels[c] = levelAt(src, x, y, c);
            if (isSelected(mask, x, y))
                compressPixel(dst, x, y, levels, count, low, high, top);
        }
}

inline void compressRaw(const test::TestImage& src, test::TestImage& dst, const test::TestImage* mask,
                        int low, int high)
{
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x) {
            const int levels[3] = {levelAt(src, x, y, 0), (levelAt(src, x, y, 1) + levelAt(src, x, y, 3)) / 2,
                                   levelAt(src, x, y, 2)};
            if (isSelected(mask, x, y))
                compressPixel(dst, x, y, levels, 3, low, high, topLevel(src));
        }
}

inline void stretchGreen(const test::TestImage& src, test::TestImage& dst, int dstChannel,
                         const test::TestImage* mask, int low, int high)
{
    const int top = topLevel(src);
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x) {
            const int sum = levelAt(src, x, y, 1) + levelAt(src, x, y, 3);
            const bool whole = low == 0 && high == top;
            if (isSelected(mask, x, y))
                setLevel(dst, x, y, dstChannel, whole ? sum / 2 : stretched(sum * 0.5, low, high, top));
        }
}

}  // namespace ko::oracle
