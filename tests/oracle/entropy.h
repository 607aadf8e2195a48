// Naive twins of the entropies and the masked Otsu threshold.
#pragma once

#include "support/test_image.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <vector>

namespace ko::oracle {

/// Pixels per value, where the mask (if any) is not zero.
inline std::map<std::uint32_t, std::uint32_t> countValues(const test::TestImage& src,
                                                          const test::TestImage* mask = nullptr)
{
    std::map<std::uint32_t, std::uint32_t> counts;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (mask == nullptr || mask->get<std::uint8_t>(x, y) != 0)
                ++counts[src.buf().dataType == UInt8 ? src.get<std::uint8_t>(x, y)
                                                     : src.get<std::uint16_t>(x, y)];
    return counts;
}

/// Minus the mean over the pixels of the logarithm of their value's share.
inline double shannon(const test::TestImage& src, double base)
{
    const double pixels = static_cast<double>(src.buf().width) * src.buf().height;
    const auto logarithm = [base](double number) { return std::log(number) * (1.0 / std::log(base)); };
    double sum = 0.0;
    for (const auto& [value, count] : countValues(src))
        sum += (logarithm(count) - logarithm(pixels)) * count;
    return -(1.0 / pixels) * sum;
}

inline double renyi(const test::TestImage& src, double alpha, double base)
{
    const double pixels = static_cast<double>(src.buf().width) * src.buf().height;
    double sum = 0.0;
    for (const auto& [value, count] : countValues(src))
        sum += std::pow(count / pixels, alpha);
    return std::log(sum) / std::log(base) / (1.0 - alpha);
}

/// The low 32 bits as a signed number.
inline std::int64_t wrapped(std::uint64_t value)
{
    const std::uint64_t low = value % 0x100000000U;
    return static_cast<std::int64_t>(low) - (low >= 0x80000000U ? std::int64_t{0x100000000} : 0);
}

inline unsigned otsu(const test::TestImage& src, const test::TestImage& mask)
{
    const std::uint64_t levels = std::uint64_t{1} << src.buf().bitsPerSample;
    std::vector<std::uint64_t> counts(levels);
    for (const auto& [value, count] : countValues(src, &mask))
        counts[value] = count;
    std::uint64_t total = 0, sumAll = 0, below = 0, sumBelow = 0;
    for (std::uint64_t i = 0; i < levels; ++i) {
        total += counts[i];
        sumAll += i * counts[i];
    }
    double best = 0.0;
    unsigned threshold = 0;
    for (std::uint64_t t = 0; t < levels; ++t) {
        below += counts[t];
        const std::uint64_t above = total - below;
        if (below == 0 || above == 0)
            continue;
        sumBelow += t * counts[t];
        const double meanAbove =
            static_cast<double>(wrapped(sumAll - sumBelow)) / static_cast<double>(wrapped(above));
        const double d = static_cast<double>(wrapped(sumBelow)) / static_cast<double>(below) - meanAbove;
        const double score = static_cast<double>(wrapped(above * below)) * d * d;
        if (score >= best) {
            best = score;
            threshold = static_cast<unsigned>(t);
        }
    }
    return threshold;
}

}  // namespace ko::oracle
