// The border of the median: what windows find outside the image.
#pragma once

#include <ko/image.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace ko {

/// Samples outside the image, so that every window is whole and its middle is the lower middle of the part
/// that exists: of those in a window half are lower and half are higher than all others; of an odd number,
/// one more is lower.
///
/// Each side of the image has lines of its own that reach over the corner at their end. Along a line, low and
/// high alternate from its beginning on, and again every `window` samples; from one line to the next they
/// change places.
class Outside {
public:
    Outside(const SxImageInfo& image, std::int64_t window) noexcept
        : m_width(image.width), m_height(image.height), m_window(window)
    {
    }

    /// Writes those of the `count` samples from (x, y) to the right that are not in the image, every `step`
    /// samples.
    template <class T>
    void fillRow(std::int64_t x, std::int64_t y, std::int64_t count, std::int64_t step, T* to) const noexcept
    {
        fillLine(x, m_width, y < 0 || y >= m_height, count, step, to,
                 [&](std::int64_t i) noexcept { return sample<T>(x + i, y); });
    }

    /// The same from (x, y) down.
    template <class T>
    void fillColumn(std::int64_t x, std::int64_t y, std::int64_t count, T* to) const noexcept
    {
        fillLine(y, m_height, x < 0 || x >= m_width, count, 1, to,
                 [&](std::int64_t i) noexcept { return sample<T>(x, y + i); });
    }

private:
    template <class T>
    T sample(std::int64_t x, std::int64_t y) const noexcept
    {
        return isLow(x, y) ? T{0} : std::numeric_limits<T>::max();
    }

    /// Fills what is before the image, beside it and behind it, which are different sides.
    template <class T, class SampleAt>
    void fillLine(std::int64_t first, std::int64_t extent, bool isBeside, std::int64_t count,
                  std::int64_t step, T* to, const SampleAt& sampleAt) const noexcept
    {
        const std::int64_t begin = std::clamp<std::int64_t>(-first, 0, count);
        const std::int64_t end = std::clamp<std::int64_t>(extent - first, 0, count);
        fillSide(0, begin, step, to, sampleAt);
        if (isBeside)
            fillSide(begin, end, step, to, sampleAt);
        fillSide(end, count, step, to, sampleAt);
    }

    /// A side repeats itself after a window; across its lines there are fewer samples than that.
    template <class T, class SampleAt>
    void fillSide(std::int64_t i, std::int64_t end, std::int64_t step, T* to,
                  const SampleAt& sampleAt) const noexcept
    {
        for (const std::int64_t known = std::min(end, i + m_window); i < known; ++i)
            to[i * step] = sampleAt(i);
        for (; i < end; ++i)
            to[i * step] = to[(i - m_window) * step];
    }

    bool isLow(std::int64_t x, std::int64_t y) const noexcept
    {
        if (x < 0 && y < m_height)
            return isLowOnLine(-x, m_height - 1 - y);
        if (y < 0)
            return isLowOnLine(-y, x);
        if (x >= m_width)
            return isLowOnLine(x - m_width + 1, y);
        return isLowOnLine(y - m_height + 1, m_width - 1 - x);
    }

    bool isLowOnLine(std::int64_t line, std::int64_t at) const noexcept
    {
        // Both fit into 32 bits, which are divided faster.
        return (line + static_cast<std::uint32_t>(at) % static_cast<std::uint32_t>(m_window)) % 2 != 0;
    }

    std::int64_t m_width;
    std::int64_t m_height;
    std::int64_t m_window;
};

}  // namespace ko
