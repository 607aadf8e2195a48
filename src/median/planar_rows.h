// Rows of an image with one array for each channel, and with what lies outside.
#pragma once

#include "base/image_view.h"
#include "median/outside.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ko {

/// Pixels have one sample or three; images of other channels have no medians.
inline std::size_t medianPlanes(const SxImageInfo& image) noexcept
{
    return image.channels == 1 ? 1 : 3;
}

template <class T>
class MedianPlanarRows {
public:
    MedianPlanarRows(const SxImageBuf& src, SxImageBuf& dst, std::int64_t window) noexcept
        : m_src(src), m_dst(dst), m_outside(src, window)
    {
    }

    /// The `count` samples from (x, y) to the right.
    void read(std::int64_t x, std::int64_t y, std::int64_t count, T* const* rows) const noexcept
    {
        const std::int64_t first = std::clamp<std::int64_t>(-x, 0, count);
        const std::int64_t last = std::clamp<std::int64_t>(m_src.width - x, 0, count);
        if (y >= 0 && y < m_src.height) {
            const std::uint8_t* const pixels = rowOf(m_src, y) + (x + first) * m_src.channels * sampleBytes;
            if (medianPlanes(m_src) == 1) {
                std::memcpy(rows[0] + first, pixels, static_cast<std::size_t>((last - first) * sampleBytes));
            } else {
                T* const inside[] = {rows[0] + first, rows[1] + first, rows[2] + first};
                m_kernels.separate(pixels, last - first, inside);
            }
        }
        for (std::size_t i = 0; i < medianPlanes(m_src); ++i)
            m_outside.fillRow(x, y, count, 1, rows[i]);
    }

    /// The same for the result, whose samples are inside the image.
    void write(std::int64_t x, std::int64_t y, std::int64_t count, const T* const* rows) const noexcept
    {
        std::uint8_t* const pixels = rowOf(m_dst, y) + x * m_src.channels * sampleBytes;
        if (medianPlanes(m_src) == 1)
            std::memcpy(pixels, rows[0], static_cast<std::size_t>(count * sampleBytes));
        else
            m_kernels.join(rows, count, pixels);
    }

private:
    static constexpr std::int64_t sampleBytes = sizeof(T);

    const SxImageBuf& m_src;
    SxImageBuf& m_dst;
    Outside m_outside;
    const MedianPixelKernels<T>& m_kernels = medianTileKernels<T>().pixels;
};

}  // namespace ko
