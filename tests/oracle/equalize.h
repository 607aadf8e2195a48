// Naive twins of equalisation and matching, for images whose samples lie within their depth.
#pragma once

#include "support/test_image.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace ko::oracle {

using Sums = std::vector<double>;

template <class T>
std::vector<unsigned> levelCounts(const test::TestImage& image, int channel)
{
    std::vector<unsigned> counts(std::size_t{1} << image.buf().bitsPerSample);
    for (int y = 0; y < image.buf().height; ++y)
        for (int x = 0; x < image.buf().width; ++x)
            ++counts[image.get<T>(x, y, channel)];
    return counts;
}

/// Empty where there is nothing to divide by.
inline Sums runningSums(const std::vector<unsigned>& counts)
{
    double total = 0;
    for (const unsigned count : counts)
        total += count;
    Sums sums;
    if (total == 0)
        return sums;
    for (std::size_t i = 0; i < counts.size(); ++i)
        sums.push_back(counts[i] / total + (i > 0 ? sums[i - 1] : 0.0));
    return sums;
}

/// The channels that are mapped: a fourth interleaved one is not.
inline bool isMapped(const test::TestImage& image, int channel)
{
    return image.buf().packing == Planar || channel < 3;
}

template <class T>
void equalize(const test::TestImage& src, test::TestImage& dst)
{
    for (int c = 0; c < src.buf().channels; ++c) {
        if (!isMapped(src, c))
            continue;
        const Sums sums = runningSums(levelCounts<T>(src, src.buf().packing == Planar ? c : 0));
        const double top = static_cast<double>(sums.size()) - 1;
        for (int y = 0; y < src.buf().height; ++y)
            for (int x = 0; x < src.buf().width; ++x)
                dst.set<T>(x, y, c, static_cast<T>(top * sums[src.get<T>(x, y, c)]));
    }
}

/// A search from the first level on for every level that a sample has.
template <class T>
void match(const test::TestImage& src, const std::vector<std::vector<unsigned>>& reference,
           test::TestImage& dst)
{
    for (int c = 0; c < src.buf().channels; ++c) {
        if (!isMapped(src, c))
            continue;
        const Sums from = runningSums(levelCounts<T>(src, c));
        const Sums to = runningSums(reference[static_cast<std::size_t>(c)]);
        std::vector<std::optional<T>> found(from.size());
        for (int y = 0; y < src.buf().height; ++y)
            for (int x = 0; x < src.buf().width; ++x) {
                const T level = src.get<T>(x, y, c);
                if (!found[level]) {
                    std::size_t j = 0;
                    while (j < to.size() && !(to[j] >= from[level]))
                        ++j;
                    found[level] = j < to.size() ? static_cast<T>(j) : static_cast<T>(~T{0});
                }
                dst.set<T>(x, y, c, *found[level]);
            }
    }
}

}  // namespace ko::oracle
