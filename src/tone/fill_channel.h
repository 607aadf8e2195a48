// Results for one channel of an image, made block by block and put where a mask lets them.
#pragma once

#include "base/channels.h"

#include <array>
#include <cstdint>

namespace ko {

inline constexpr std::int64_t samplesPerBlock = 256;

/// Memory for the samples of a block, one after the other.
template <class T>
using SampleBlock = std::array<std::uint8_t, samplesPerBlock * sizeof(T)>;

/// Fills one channel: `make(x, y, count, out)` makes the samples of `count` pixels of a row.
template <class T, class Make>
void fillChannel(const ChannelSamples<std::uint8_t>& dst, const Selection& selection, const Make& make)
{
    if (dst.first == nullptr)
        return;
    if (!selection.isMasked() && dst.step == 1) {
        for (std::int64_t y = selection.top; y < selection.top + selection.height; ++y)
            make(selection.left, y, selection.width, dst.at<T>(selection.left, y));
        return;
    }
    SampleBlock<T> block;
    forEachRun<samplesPerBlock>(
        selection, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
            make(x, y, count, block.data());
            scatter<T>(block.data(), dst.at<T>(x, y), dst.step, count, mask);
        });
}

}  // namespace ko
