// Naive twins of the mask operations.
#pragma once

#include "support/test_image.h"

#include <cstring>

namespace ko::oracle {

inline void maskImage(test::TestImage& image, const test::TestImage& mask)
{
    image.forEachSample([&](int x, int y, int c) {
        if (mask.get<std::uint8_t>(x, y) == 0)
            std::memset(image.sample(x, y, c), 0,
                        static_cast<std::size_t>(bytesPerSample(image.buf().dataType)));
    });
}

/// Compares the words that start at the first bytes of a pixel; behind the image there are zeros.
inline void binaryMaskInterleaved(const test::TestImage& src, test::TestImage& mask, std::uint32_t value)
{
    const SxImageBuf& info = src.buf();
    const int size = bytesPerSample(info.dataType);
    const std::uint8_t* const end = info.data + imageByteSize(info);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x) {
            bool differs = false;
            for (int k = 0; k < info.channels; ++k) {
                const std::uint8_t* const byte = src.sample(x, y) + k;
                const unsigned low = *byte, high = byte + 1 < end ? byte[1] : 0U;
                const unsigned word = low + 256 * high;
                const unsigned wanted = size == 1 ? value % 256 : size == 2 ? value % 65536 : value;
                differs = differs || word != wanted;
            }
            mask.set<std::uint8_t>(x, y, differs ? std::uint8_t{1} : std::uint8_t{0});
        }
}

inline void binaryMaskPlanar(const test::TestImage& src, test::TestImage& mask, std::uint32_t value)
{
    const int size = bytesPerSample(src.buf().dataType);
    src.forEachSample([&](int x, int y, int c) {
        std::uint64_t sample = 0;
        std::memcpy(&sample, src.sample(x, y, c), static_cast<std::size_t>(size));
        const std::uint64_t wanted = size == 1 ? value % 256 : size == 2 ? value % 65536 : value;
        if (sample != wanted)
            mask.set<std::uint8_t>(x, y, std::uint8_t{1});
    });
}

}  // namespace ko::oracle
