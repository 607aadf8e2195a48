// Naive twin of the histograms of one image.
#pragma once

#include "support/test_image.h"

#include <ko/histogram_containers.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace ko::oracle {

/// Counters by plane and value. What lies outside is dropped.
class Counts {
public:
    Counts(int planes, int levels) : m_counts(planes, std::vector<std::uint32_t>(levels)) {}

    void add(int plane, std::int64_t value)
    {
        if (plane >= 0 && plane < int(m_counts.size()) && value >= 0 &&
            value < std::int64_t(m_counts[plane].size()))
            ++m_counts[plane][value];
    }

    std::uint32_t at(int plane, int value) const { return m_counts[plane][value]; }

    bool operator==(const CxImageHistogram& hist) const
    {
        if (hist.planes != int(m_counts.size()))
            return false;
        for (int p = 0; p < hist.planes; ++p) {
            if (hist.levels != int(m_counts[p].size()))
                return false;
            for (int v = 0; v < hist.levels; ++v) {
                if (hist.bins[p][v] != m_counts[p][v])
                    return false;
            }
        }
        return true;
    }

private:
    std::vector<std::vector<std::uint32_t>> m_counts;
};

/// A 1- or 2-byte sample read without sign.
inline std::int64_t sampleOf(const test::TestImage& image, int x, int y, int channel)
{
    const std::uint8_t* bytes = image.sample(x, y, channel);
    return bytesPerSample(image.buf().dataType) == 1 ? bytes[0] : bytes[0] + 256 * bytes[1];
}

using Selects = std::function<bool(int x, int y)>;

inline Selects everywhere()
{
    return [](int, int) { return true; };
}

inline Selects inside(const QRect& rect)
{
    return [rect](int x, int y) { return rect.contains(x, y); };
}

inline Selects whereSet(const test::TestImage& mask, int left = 0, int top = 0)
{
    return [&mask, left, top](int x, int y) {
        const int i = x - left, j = y - top;
        return i >= 0 && j >= 0 && i < mask.buf().width && j < mask.buf().height &&
               mask.get<std::uint8_t>(i, j) != 0;
    };
}

inline Selects both(Selects a, Selects b)
{
    return [a, b](int x, int y) { return a(x, y) && b(x, y); };
}

/// Channel c into plane `planes[c]`; returns the number of selected pixels.
inline int histogram(const test::TestImage& src, const Selects& selects, const std::vector<int>& planes,
                     Counts& counts)
{
    int selected = 0;
    for (int y = 0; y < src.buf().height; ++y) {
        for (int x = 0; x < src.buf().width; ++x) {
            if (!selects(x, y))
                continue;
            ++selected;
            for (int c = 0; c < src.buf().channels; ++c)
                counts.add(planes[c], sampleOf(src, x, y, c));
        }
    }
    return selected;
}

inline std::vector<int> allChannels(const test::TestImage& src)
{
    std::vector<int> planes;
    for (int c = 0; c < src.buf().channels; ++c)
        planes.push_back(c);
    return planes;
}

inline std::vector<int> oneChannel(const test::TestImage& src, int channel, int plane)
{
    std::vector<int> planes(src.buf().channels, -1);
    planes[channel] = plane;
    return planes;
}

/// The truncated mean of some channels of every selected pixel.
inline void gray(const test::TestImage& src, const Selects& selects, const std::vector<int>& channels,
                 int plane, Counts& counts)
{
    for (int y = 0; y < src.buf().height; ++y) {
        for (int x = 0; x < src.buf().width; ++x) {
            if (!selects(x, y))
                continue;
            std::int64_t sum = 0;
            for (const int c : channels)
                sum += sampleOf(src, x, y, c);
            counts.add(plane, sum / std::int64_t(channels.size()));
        }
    }
}

inline void grayAndColours(const test::TestImage& src, const Selects& selects, Counts& counts)
{
    gray(src, selects, {0, 1, 2}, 0, counts);
    histogram(src, selects, {1, 2, 3, -1}, counts);
}

/// Every colour has a mask of its own.
inline void grayAndColours(const test::TestImage& src, const test::TestImage& masks, Counts& counts)
{
    for (int y = 0; y < src.buf().height; ++y) {
        for (int x = 0; x < src.buf().width; ++x) {
            std::int64_t sum = 0, selected = 0;
            for (int c = 0; c < 3; ++c) {
                if (masks.get<std::uint8_t>(x, y, c) == 0)
                    continue;
                counts.add(c + 1, sampleOf(src, x, y, c));
                sum += sampleOf(src, x, y, c);
                ++selected;
            }
            if (selected > 0)
                counts.add(0, sum / selected);
        }
    }
}

inline void rawPlanar(const test::TestImage& src, const Selects& selects, Counts& counts)
{
    gray(src, selects, {0, 1, 2, 3}, 0, counts);
    histogram(src, selects, {1, 2, 3, 2}, counts);
}

}  // namespace ko::oracle
