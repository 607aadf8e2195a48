// Naive twins of the background corrections and of averaging.
#pragma once

#include "support/test_image.h"

#include <QRect>

#include <cmath>
#include <vector>

namespace ko::oracle {

template <class T>
T lowBitsOf(double value)
{
    if (std::isnan(value) || std::abs(value) >= std::pow(2.0, 63))
        return 0;
    return static_cast<T>(static_cast<std::uint64_t>(static_cast<std::int64_t>(std::trunc(value))));
}

inline double smaller(double top, double value)
{
    return value < top ? value : top;
}

template <class T>
void correctBackground(const test::TestImage& src, const test::TestImage& background, test::TestImage& dst,
                       double ratio, const std::vector<double>& gains)
{
    const double top = std::pow(2.0, src.buf().bitsPerSample) - 1;
    src.forEachSample([&](int x, int y, int c) {
        if (c == 3)
            return;
        const double below = background.get<T>(x, y, c);
        double value = 0;
        if (below != 0) {
            value = src.get<T>(x, y, c) / below;
            value = value * ratio;
            value = smaller(top, value * gains[static_cast<std::size_t>(c)]);
        }
        dst.set<T>(x, y, c, lowBitsOf<T>(value));
    });
}

template <class T>
void backgroundCorrection(const test::TestImage& background, test::TestImage& image, int count,
                          const std::vector<double>& factors)
{
    const double clamp =
        sizeof(T) == 1 ? 255 : lowBitsOf<std::uint16_t>(std::pow(2.0, image.buf().bitsPerSample));
    image.forEachSample([&](int x, int y, int c) {
        if (c >= count || background.get<T>(x, y, c) == 0)
            return;
        const double quotient = static_cast<double>(image.get<T>(x, y, c)) / background.get<T>(x, y, c);
        image.set<T>(x, y, c, lowBitsOf<T>(smaller(clamp, quotient * factors[static_cast<std::size_t>(c)])));
    });
}

template <class T>
void averageImage(const std::vector<const test::TestImage*>& frames, const QRect& roi, test::TestImage& dst)
{
    for (int y = 0; y < roi.height(); ++y) {
        for (int x = 0; x < roi.width(); ++x) {
            for (int c = 0; c < dst.buf().channels; ++c) {
                std::uint64_t sum = 0;
                for (const test::TestImage* frame : frames)
                    sum += frame->get<T>(roi.x() + x, roi.y() + y, c);
                dst.set<T>(x, y, c, static_cast<T>(sum % 4294967296U / frames.size()));
            }
        }
    }
}

}  // namespace ko::oracle
