// Walking the channels of images block by block: samples that lie apart are brought together for the row
// kernels, and results are put where a mask lets them.
#pragma once

#include "base/checks.h"
#include "base/image_view.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ko {

/// Where the samples of one channel lie; `first` is null where the image has no such channel.
template <class Byte>
struct ChannelSamples {
    Byte* first = nullptr;
    std::int64_t step = 0;    ///< samples from pixel to pixel
    std::int64_t stride = 0;  ///< bytes from row to row

    template <class T>
    Byte* at(std::int64_t x, std::int64_t y) const noexcept
    {
        return first + y * stride + x * step * static_cast<std::int64_t>(sizeof(T));
    }
};

template <class Image>
ChannelSamples<ByteOf<Image>> channelOf(Image& image, int channel) noexcept
{
    const int physical = ChannelIndexLogicalToPhysical(channel, image);
    if (physical < 0 || physical >= image.channels)
        return {};
    if (isInterleaved(image)) {
        return {image.data + std::int64_t{physical} * bytesPerSample(image.dataType), image.channels,
                image.stride};
    }
    return {planeRowOf(image, physical, 0), 1, image.stride};
}

/// The pixels that an operation treats: all of a size, or those of them that a mask selects. A mask that
/// covers less than the size selects nothing beyond its own pixels and its own memory.
struct SelectedPixels {
    std::int64_t width;
    std::int64_t height;
    const SxImageBuf* mask = nullptr;

    /// The leading columns of a row that may be selected.
    std::int64_t columns(std::int64_t y) const noexcept
    {
        if (mask == nullptr)
            return width;
        const std::size_t memory = mask->data != nullptr ? imageByteSize(*mask) : 0;
        if (memory == 0 || y >= mask->height)
            return 0;
        constexpr std::size_t most = std::numeric_limits<std::int64_t>::max();
        const std::int64_t left =
            static_cast<std::int64_t>(std::min(memory, most)) - y * std::int64_t{mask->stride};
        return std::clamp<std::int64_t>(std::min<std::int64_t>(mask->width, left), 0, width);
    }

    const std::uint8_t* maskAt(std::int64_t x, std::int64_t y) const noexcept
    {
        return mask != nullptr ? rowOf(*mask, y) + x : nullptr;
    }
};

inline constexpr std::int64_t samplesPerBlock = 256;

/// Memory for the samples of a block, one after the other.
template <class T>
using SampleBlock = std::array<std::uint8_t, samplesPerBlock * sizeof(T)>;

/// Calls `body(x, y, count)` for the pixels of every row that may be selected, at most a block at a time.
template <class Body>
void forEachBlock(const SelectedPixels& pixels, const Body& body)
{
    for (std::int64_t y = 0; y < pixels.height; ++y) {
        const std::int64_t columns = pixels.columns(y);
        for (std::int64_t x = 0; x < columns; x += samplesPerBlock)
            body(x, y, std::min(samplesPerBlock, columns - x));
    }
}

/// Brings samples that lie `step` apart together.
template <class T>
void gather(const std::uint8_t* src, std::int64_t step, std::int64_t count, std::uint8_t* block) noexcept
{
    for (std::int64_t i = 0; i < count; ++i)
        storeSample<T>(block, i, loadSample<T>(src, i * step));
}

/// Puts samples `step` apart, those that the mask selects if there is one.
template <class T>
void scatter(const std::uint8_t* block, std::uint8_t* dst, std::int64_t step, std::int64_t count,
             const std::uint8_t* mask) noexcept
{
    if (mask == nullptr) {
        for (std::int64_t i = 0; i < count; ++i)
            storeSample<T>(dst, i * step, loadSample<T>(block, i));
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        const T kept = loadSample<T>(dst, i * step), sample = loadSample<T>(block, i);
        storeSample<T>(dst, i * step, mask[i] != 0 ? sample : kept);
    }
}

/// Fills one channel: `make(x, y, count, out)` makes the samples of `count` pixels of a row.
template <class T, class Make>
void fillChannel(const ChannelSamples<std::uint8_t>& dst, const SelectedPixels& pixels, const Make& make)
{
    if (dst.first == nullptr)
        return;
    if (pixels.mask == nullptr && dst.step == 1) {
        for (std::int64_t y = 0; y < pixels.height; ++y)
            make(0, y, pixels.width, dst.at<T>(0, y));
        return;
    }
    SampleBlock<T> block;
    forEachBlock(pixels, [&](std::int64_t x, std::int64_t y, std::int64_t count) {
        make(x, y, count, block.data());
        scatter<T>(block.data(), dst.at<T>(x, y), dst.step, count, pixels.maskAt(x, y));
    });
}

}  // namespace ko
