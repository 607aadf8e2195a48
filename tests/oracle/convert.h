// Naive twins of the conversions to unsigned samples.
#pragma once

#include "oracle/extremes.h"
#include "support/test_image.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace ko::oracle {

/// Lowest and highest value of a channel or cell position.
struct Span {
    double low;
    double high;
};

template <class S>
std::vector<Span> channelSpans(const test::TestImage& src, const test::TestImage* mask = nullptr)
{
    std::vector<Span> spans;
    for (int c = 0; c < src.buf().channels; ++c) {
        const Extreme<S> extreme = channelExtreme<S>(src, c, mask);
        spans.push_back({static_cast<double>(extreme.low), static_cast<double>(extreme.high)});
    }
    return spans;
}

template <class S>
std::vector<Span> cellSpans(const test::TestImage& src)
{
    std::vector<Span> spans;
    for (int p = 0; p < 4; ++p) {
        const Extreme<S> extreme = cellExtreme<S>(src, 2, 2, p);
        spans.push_back({static_cast<double>(extreme.low), static_cast<double>(extreme.high)});
    }
    return spans;
}

inline void joinSpans(std::vector<Span>& spans)
{
    Span all{std::numeric_limits<double>::max(), -std::numeric_limits<double>::max()};
    for (const Span& span : spans) {
        if (span.low < all.low)
            all.low = span.low;
        if (span.high > all.high)
            all.high = span.high;
    }
    for (Span& span : spans)
        span = all;
}

/// Towards zero; -2^63 for what 64 bits do not hold.
inline std::int64_t wholeNumber(double value)
{
    const double limit = std::pow(2.0, 63);
    if (std::isnan(value) || value >= limit || value < -limit)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(std::trunc(value));
}

template <class Dst>
Dst clamped(double value, double top)
{
    if (std::isnan(value) || value <= 0)
        return 0;
    if (value >= top)
        return static_cast<Dst>(top);
    return static_cast<Dst>(std::trunc(value));
}

template <class Dst>
Dst lowBits(double value)
{
    return static_cast<Dst>(static_cast<std::uint64_t>(wholeNumber(value)));
}

template <class Dst>
double containerTop(int bits)
{
    return lowBits<Dst>(std::pow(2.0, bits) - 1);
}

inline void clearPlane(test::TestImage& dst, int plane)
{
    const std::size_t bytes =
        static_cast<std::size_t>(dst.buf().stride) * static_cast<std::size_t>(dst.buf().height);
    std::memset(dst.buf().data + bytes * static_cast<std::size_t>(plane), 0, bytes);
}

/// ConvertDoubleToU (S = double) and ConvertFloatToU (S = float); the result is the reported range.
template <class S, class Dst>
std::vector<Span> convertToU(const test::TestImage& src, test::TestImage& dst, bool joint, bool zeroBased)
{
    const bool mono = src.buf().channels == 1;
    const bool mosaic = mono && src.buf().bayerGrid != BayerNone;
    std::vector<Span> spans = mosaic ? cellSpans<S>(src) : channelSpans<S>(src);
    if (joint)
        joinSpans(spans);
    if (zeroBased)
        for (Span& span : spans)
            span.low = 0;
    const double top = containerTop<Dst>(dst.buf().bitsPerSample);
    const bool planes = !mosaic && (mono || src.buf().packing == Planar);
    for (int c = 0; planes && c < src.buf().channels; ++c)
        if (spans[static_cast<std::size_t>(c)].low == spans[static_cast<std::size_t>(c)].high)
            clearPlane(dst, c);
    src.forEachSample([&](int x, int y, int c) {
        const Span& span = spans[static_cast<std::size_t>(mosaic ? y % 2 * 2 + x % 2 : c)];
        Dst result = 0;
        if (span.low != span.high) {
            const double scale = top / (span.high - span.low);
            const double value = (static_cast<double>(src.get<S>(x, y, c)) - span.low) * scale;
            if (!mosaic)
                result = clamped<Dst>(value, top);
            else
                result = std::isinf(scale) ? Dst{0} : lowBits<Dst>(value);
        }
        dst.set<Dst>(x, y, c, result);
    });
    return spans;
}

/// ConvertFloatToU8, with a mask or without.
inline std::vector<Span> convertForDisplay(const test::TestImage& src, const test::TestImage* mask,
                                           test::TestImage& dst, bool joint)
{
    std::vector<Span> spans = channelSpans<float>(src, mask);
    if (joint)
        joinSpans(spans);
    src.forEachSample([&](int x, int y, int c) {
        if (mask != nullptr && mask->get<std::uint8_t>(x, y) == 0)
            return;
        const auto low = static_cast<float>(spans[static_cast<std::size_t>(c)].low);
        const auto high = static_cast<float>(spans[static_cast<std::size_t>(c)].high);
        const float range = high - low;
        const float scale = 255.0F / range;
        const float difference = src.get<float>(x, y, c) - low;
        const float value = difference * scale;
        const bool swap = src.buf().packing == Interleaved && src.buf().channels == 3;
        dst.set<std::uint8_t>(x, y, swap ? 2 - c : c, lowBits<std::uint8_t>(static_cast<double>(value)));
    });
    return spans;
}

template <class Dst>
std::vector<Span> convertDoubleMasked(const test::TestImage& src, const test::TestImage& mask,
                                      test::TestImage& dst, bool joint)
{
    std::vector<Span> spans = channelSpans<double>(src, &mask);
    if (joint)
        joinSpans(spans);
    const double top = std::pow(2.0, dst.buf().bitsPerSample) - 1;
    src.forEachSample([&](int x, int y, int c) {
        if (mask.get<std::uint8_t>(x, y) == 0 || c > 2)
            return;
        const Span& span = spans[static_cast<std::size_t>(c)];
        const double scale = top / (span.high - span.low);
        dst.set<Dst>(x, y, c, lowBits<Dst>((src.get<double>(x, y, c) - span.low) * scale));
    });
    return spans;
}

/// a - b in 32 bits.
inline double difference32(double a, double b)
{
    const double exact = a - b;
    if (exact >= 2147483648.0)
        return exact - 4294967296.0;
    return exact < -2147483648.0 ? exact + 4294967296.0 : exact;
}

template <class Dst>
std::vector<Span> convertIntegers(const test::TestImage& src, test::TestImage& dst, bool joint)
{
    std::vector<Span> spans = channelSpans<std::int32_t>(src);
    if (joint)
        joinSpans(spans);
    const double top = std::pow(2.0, dst.buf().bitsPerSample) - 1;
    src.forEachSample([&](int x, int y, int c) {
        const Span& span = spans[static_cast<std::size_t>(c)];
        const double scale = top / difference32(span.high, span.low);
        dst.set<Dst>(x, y, c, lowBits<Dst>(difference32(src.get<std::int32_t>(x, y, c), span.low) * scale));
    });
    return spans;
}

/// ScaleDoubleFloatToU; `S` is the type of the samples and of the computation.
template <class S, class Dst>
void scaleToU(const test::TestImage& src, test::TestImage& dst, double min, double max)
{
    const int bits = dst.buf().bitsPerSample;
    const double steps = lowBits<std::uint32_t>(std::pow(2.0, bits));
    const S scale = static_cast<S>(min == max ? 0 : steps / (max - min));
    const S low = static_cast<S>(min), high = static_cast<S>(max);
    const bool planes = src.buf().channels == 1 || src.buf().packing == Planar;
    for (int c = 0; planes && low == high && c < src.buf().channels; ++c)
        clearPlane(dst, c);
    src.forEachSample([&](int x, int y, int c) {
        const S difference = src.get<S>(x, y, c) - low;
        const S value = difference * scale;
        if (!planes || low != high)
            dst.set<Dst>(x, y, c, clamped<Dst>(static_cast<double>(value), containerTop<Dst>(bits)));
    });
}

}  // namespace ko::oracle
