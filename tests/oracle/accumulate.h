// Naive twins of the accumulators.
#pragma once

#include "support/test_image.h"

#include <ko/stats/accumulate.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace ko::oracle {

__extension__ using Huge = unsigned __int128;

/// Everything that an accumulator can know of one sample of a series.
struct SampleHistory {
    std::uint64_t sum = 0;
    std::uint64_t squares = 0;
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    std::uint32_t above = 0;
    std::uint32_t count = 0;
};

/// Sample (x, y, c) of frames of type T, `before` being what was known of it. `masks` may be empty.
template <class T>
SampleHistory accumulate(const std::vector<const test::TestImage*>& frames,
                         const std::vector<const test::TestImage*>& masks, int x, int y, int c,
                         std::uint32_t level, SampleHistory before)
{
    for (std::size_t f = 0; f < frames.size(); ++f) {
        if (!masks.empty() && masks[f]->get<std::uint8_t>(x, y) == 0)
            continue;
        const std::uint32_t sample = frames[f]->get<T>(x, y, c);
        before.sum += sample;
        before.squares += std::uint64_t{sample} * sample;
        before.minimum = std::min(before.minimum, sample);
        before.maximum = std::max(before.maximum, sample);
        before.above += sample > level ? 1 : 0;
        before.count += 1;
    }
    return before;
}

/// The double nearest to dividend / divisor, digit by digit as on paper, ties to the even one.
inline double quotient(Huge dividend, Huge divisor)
{
    if (dividend == 0)
        return 0.0;
    int power = 0;
    Huge digits = dividend / divisor, rest = dividend % divisor;
    while (digits < Huge{1} << 53) {
        rest *= 2;
        digits = 2 * digits + (rest >= divisor ? 1 : 0);
        rest = rest >= divisor ? rest - divisor : rest;
        --power;
    }
    bool isRestZero = rest == 0;
    while (digits >= Huge{1} << 54) {
        isRestZero = isRestZero && digits % 2 == 0;
        digits /= 2;
        ++power;
    }
    const bool isHalf = digits % 2 == 1;
    digits /= 2;
    if (isHalf && (!isRestZero || digits % 2 == 1))
        digits += 1;
    return std::ldexp(static_cast<double>(static_cast<std::uint64_t>(digits)), power + 1);
}

inline double variance(std::uint64_t n, std::uint64_t sum, std::uint64_t squares, int ddof)
{
    if (n <= static_cast<std::uint64_t>(ddof) || Huge{n} * squares < Huge{sum} * sum)
        return std::numeric_limits<double>::quiet_NaN();
    return quotient(Huge{n} * squares - Huge{sum} * sum, Huge{n} * (n - static_cast<std::uint64_t>(ddof)));
}

}  // namespace ko::oracle
