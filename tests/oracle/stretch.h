// Naive twin of Stretch: a whole image between the passes, one sample at a time.
#pragma once

#include <ko/image.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ko::oracle {

struct Tap {
    long index;
    unsigned weight;
};

/// The taps of output position p when n inputs become m outputs.
inline std::vector<Tap> stretchTaps(int n, int m, int p)
{
    const double scale = double(n) / double(m);
    const int taps = scale < 1.0 ? 2 : int(scale + 2.0);
    const double half = taps * 0.5;
    const double pos = (p + 0.5) * scale + 0.0;
    const double frac = pos - std::floor(pos);
    std::vector<Tap> result;
    double sum = 0;
    for (int i = 0; i < taps; ++i) {
        long index = long(i + pos - half);
        if (index < 0)
            index = 0;
        else if (index >= n)
            index = n - 1;
        const double tent = (half - std::fabs(i + frac - half)) / (half + half);
        const auto raw = unsigned(std::max(0.0, tent) * 65536.0);
        result.push_back({index, raw});
        sum += raw;
    }
    if (taps == 2) {
        result[1].weight = unsigned(frac * 65536.0);
        result[0].weight = 65536U - result[1].weight;
        return result;
    }
    const double factor = 65536.0 / sum;
    unsigned total = 0;
    for (Tap& tap : result) {
        tap.weight = unsigned(tap.weight * factor);
        total += tap.weight;
    }
    result[std::size_t(taps / 2)].weight += 65536U - total;
    return result;
}

/// dst is addressed by its own stride, every row after the one before.
template <class T>
void stretch(const SxImageBuf& src, SxImageBuf& dst)
{
    const int channels = src.channels;
    const std::size_t width = std::size_t(dst.width) * std::size_t(channels);
    std::vector<T> between(width * std::size_t(src.height));
    for (int x = 0; x < dst.width; ++x) {
        const std::vector<Tap> taps = stretchTaps(src.width, dst.width, x);
        for (int y = 0; y < src.height; ++y) {
            for (int c = 0; c < channels; ++c) {
                unsigned long long sum = 0;
                for (const Tap& tap : taps) {
                    T sample;
                    std::memcpy(&sample,
                                src.data + long(y) * src.stride +
                                    (tap.index * channels + c) * long(sizeof(T)),
                                sizeof(T));
                    sum += static_cast<unsigned long long>(sample) * tap.weight;
                }
                between[std::size_t(y) * width + std::size_t(x * channels + c)] = T(sum >> 16);
            }
        }
    }
    for (int y = 0; y < dst.height; ++y) {
        const std::vector<Tap> taps = stretchTaps(src.height, dst.height, y);
        for (std::size_t i = 0; i < width; ++i) {
            unsigned long long sum = 0;
            for (const Tap& tap : taps)
                sum +=
                    static_cast<unsigned long long>(between[std::size_t(tap.index) * width + i]) * tap.weight;
            const T sample = T(sum >> 16);
            std::memcpy(dst.data + long(y) * dst.stride + long(i * sizeof(T)), &sample, sizeof(T));
        }
    }
}

}  // namespace ko::oracle
