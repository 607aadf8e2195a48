// Naive twins of the means.
#pragma once

#include "support/test_image.h"

#include <QRect>

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace ko::oracle {

/// Running sums as wide as the operation's own.
template <class T>
struct MeanSum {
    using Integer = std::conditional_t<sizeof(T) <= 2, std::uint32_t, std::uint64_t>;
    using Signed = std::conditional_t<sizeof(T) <= 2, std::int32_t, std::int64_t>;

    Integer integer = 0;
    double real = 0;

    void add(T sample)
    {
        if constexpr (std::is_floating_point_v<T>)
            real += static_cast<double>(sample);
        else
            integer += static_cast<Integer>(sample);
    }
    double value() const
    {
        if constexpr (std::is_floating_point_v<T>)
            return real;
        else if constexpr (std::is_signed_v<T>)
            return static_cast<double>(static_cast<Signed>(integer));
        else
            return static_cast<double>(integer);
    }
};

/// One channel over a region of an interleaved image or of a single plane.
template <class T>
double mean(const test::TestImage& src, const QRect& roi, int channel)
{
    MeanSum<T> sum;
    for (int y = roi.top(); y <= roi.bottom(); ++y)
        for (int x = roi.left(); x <= roi.right(); ++x)
            sum.add(src.get<T>(x, y, channel));
    return sum.value() / (static_cast<double>(roi.width()) * static_cast<double>(roi.height()));
}

/// One channel under a mask.
template <class T>
double meanMasked(const test::TestImage& src, const test::TestImage& mask, int channel)
{
    double sum = 0.0, count = 0.0;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (mask.get<std::uint8_t>(x, y) != 0) {
                sum += static_cast<double>(src.get<T>(x, y, channel));
                count += 1.0;
            }
    return sum / count;
}

template <class T>
double stdDevMasked(const test::TestImage& src, const test::TestImage& mask)
{
    const double mean = meanMasked<T>(src, mask, 0);
    double sum = 0.0, count = 0.0;
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            if (mask.get<std::uint8_t>(x, y) != 0) {
                const double distance = static_cast<double>(src.get<T>(x, y)) - mean;
                sum += distance * distance;
                count += 1.0;
            }
    return count == 0.0 ? 0.0 : std::sqrt(sum / count);
}

}  // namespace ko::oracle
