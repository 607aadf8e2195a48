// Results for one channel of an image, made block by block and put where a mask lets them.
#pragma once

#include "base/channels.h"
#include "base/rows.h"
#include "tone/contrast_kernels.h"

#include <array>
#include <cstdint>

namespace ko {

inline constexpr std::int64_t samplesPerBlock = 256;

/// Memory for the samples of a block, one after the other.
template <class T>
using SampleBlock = std::array<std::uint8_t, samplesPerBlock * sizeof(T)>;

/// Calls `body(part)` for the bands of rows of a selection without a stencil.
template <class Body>
void partsByConsent(const Selection& selection, const Body& body)
{
    // Samples of one or two bytes are read and written.
    const RowWork work{selection.height, 4 * selection.width};
    inBands(bandsByConsent(work), work.rows, [&](int, std::int64_t begin, std::int64_t end) noexcept {
        Selection part = selection;
        part.top += begin;
        part.height = end - begin;
        body(part);
    });
}

/// Puts samples `step` apart, those that the mask (null: all) selects.
template <class T>
void putSamples(const std::uint8_t* samples, std::uint8_t* dst, std::int64_t step, std::int64_t count,
                const std::uint8_t* mask) noexcept
{
    if (mask == nullptr)
        contrastKernels().of<T>().scatter(samples, dst, step, count);
    else
        scatter<T>(samples, dst, step, count, mask);
}

/// Fills one channel: `make(x, y, count, out)` makes the samples of `count` pixels of a row.
template <class T, class Make>
void fillChannel(const ChannelSamples<std::uint8_t>& dst, const Selection& selection, const Make& make)
{
    if (dst.first == nullptr)
        return;
    partsByConsent(selection, [&](const Selection& part) noexcept {
        if (!part.isMasked() && dst.step == 1) {
            for (std::int64_t y = part.top; y < part.top + part.height; ++y)
                make(part.left, y, part.width, dst.at<T>(part.left, y));
            return;
        }
        SampleBlock<T> block;
        forEachRun<samplesPerBlock>(
            part, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* mask) {
                make(x, y, count, block.data());
                putSamples<T>(block.data(), dst.at<T>(x, y), dst.step, count, mask);
            });
    });
}

}  // namespace ko
