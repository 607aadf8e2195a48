// Access to the channels of images: where the samples of one lie, which pixels an operation visits, and
// samples that lie apart brought together for row functions.
#pragma once

#include "base/checks.h"
#include "base/image_view.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

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

/// The channel at a place in memory: a number of the samples of a pixel, or of the planes.
template <class Image>
ChannelSamples<ByteOf<Image>> channelAt(Image& image, int physical) noexcept
{
    if (!hasChannel(image, physical))
        return {};
    if (isInterleaved(image)) {
        return {image.data + std::int64_t{physical} * bytesPerSample(image.dataType), image.channels,
                image.stride};
    }
    return {planeRowOf(image, physical, 0), 1, image.stride};
}

/// The channel with a logical number, which is how callers name one.
template <class Image>
ChannelSamples<ByteOf<Image>> channelOf(Image& image, int channel) noexcept
{
    return channelAt(image, ChannelIndexLogicalToPhysical(channel, image));
}

/// Brings samples that lie `step` apart together.
template <class T>
void gather(const std::uint8_t* src, std::int64_t step, std::int64_t count, std::uint8_t* out) noexcept
{
    for (std::int64_t i = 0; i < count; ++i)
        storeSample<T>(out, i, loadSample<T>(src, i * step));
}

/// Puts samples `step` apart, those that the mask selects.
template <class T>
void scatter(const std::uint8_t* samples, std::uint8_t* dst, std::int64_t step, std::int64_t count,
             const std::uint8_t* mask) noexcept
{
    for (std::int64_t i = 0; i < count; ++i) {
        const T kept = loadSample<T>(dst, i * step), sample = loadSample<T>(samples, i);
        storeSample<T>(dst, i * step, mask[i] != 0 ? sample : kept);
    }
}

/// Mask bytes of a run of pixels.
struct MaskRun {
    const std::uint8_t* bytes;
    std::int64_t count;
};

/// The mask bytes from (x, y) on, at most `count` and only as many as the mask has: a mask that was not
/// validated may be absent, smaller than the image or of another format, and then selects nothing beyond its
/// own size and memory. Bytes are taken at y * stride + x whatever its channels and type.
inline MaskRun maskRun(const SxImageBuf& mask, std::int64_t x, std::int64_t y, std::int64_t count) noexcept
{
    if (!isPresent(mask) || x < 0 || y < 0 || x >= mask.width || y >= mask.height || mask.stride < 0)
        return {nullptr, 0};
    const std::int64_t offset = y * mask.stride + x;
    const std::size_t memory = imageByteSize(mask);
    if (static_cast<std::size_t>(offset) >= memory)
        return {nullptr, 0};
    const std::size_t rest = memory - static_cast<std::size_t>(offset);
    count = std::min(count, mask.width - x);
    if (static_cast<std::size_t>(count) > rest)
        count = static_cast<std::int64_t>(rest);
    return {mask.data + offset, count};
}

/// The mask byte of one pixel, 0 where the mask has none.
inline std::uint8_t maskByte(const SxImageBuf& mask, std::int64_t x, std::int64_t y) noexcept
{
    const MaskRun run = maskRun(mask, x, y, 1);
    return run.count > 0 ? *run.bytes : std::uint8_t{0};
}

/// A rectangle of an image, narrowed to the pixels that masks allow.
struct Selection {
    std::int64_t left;
    std::int64_t top;
    std::int64_t width;
    std::int64_t height;
    const SxImageBuf* mask = nullptr;     ///< of the image's size; null: all
    const SxImageBuf* stencil = nullptr;  ///< of the size of the whole rectangle; null: all
    std::int64_t stencilTop = 0;          ///< row of the stencil on the first row; not 0 in a band

    explicit Selection(const QRect& rect, const SxImageBuf* imageMask = nullptr) noexcept
        : left(rect.left()), top(rect.top()), width(widthOf(rect)), height(heightOf(rect)), mask(imageMask)
    {
    }
    Selection(const SxImageBuf& placed, const QPoint& pos, const SxImageBuf* imageMask = nullptr) noexcept
        : left(pos.x()),
          top(pos.y()),
          width(placed.width),
          height(placed.height),
          mask(imageMask),
          stencil(&placed)
    {
    }

    /// A row or a column, which need not exist until pixels are visited.
    static Selection ofRow(const SxImageInfo& image, int row, const SxImageBuf* imageMask = nullptr) noexcept
    {
        return {0, row, image.width, 1, imageMask};
    }
    static Selection ofColumn(const SxImageInfo& image, int column,
                              const SxImageBuf* imageMask = nullptr) noexcept
    {
        return {column, 0, 1, image.height, imageMask};
    }

    /// Some of its rows.
    Selection band(std::int64_t begin, std::int64_t end) const noexcept
    {
        Selection rows = *this;
        rows.top += begin;
        rows.stencilTop += begin;
        rows.height = end - begin;
        return rows;
    }

    bool isMasked() const noexcept { return mask != nullptr || stencil != nullptr; }
    std::int64_t pixels() const noexcept { return width > 0 && height > 0 ? width * height : 0; }

private:
    Selection(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t rows,
              const SxImageBuf* imageMask) noexcept
        : left(x), top(y), width(columns), height(rows), mask(imageMask)
    {
    }
};

/// Calls `visit(x, y, count, mask)` for runs of at most `Longest` pixels that together cover the selection;
/// `mask` has a byte per pixel, or is null where all pixels are selected.
template <std::int64_t Longest, class Visit>
void forEachRun(const Selection& selection, const Visit& visit)
{
    std::array<std::uint8_t, Longest> both;
    for (std::int64_t j = 0; j < selection.height; ++j) {
        const std::int64_t y = selection.top + j;
        MaskRun row{nullptr, selection.width};
        if (selection.mask != nullptr)
            row = maskRun(*selection.mask, selection.left, y, row.count);
        const std::uint8_t* outer = nullptr;
        if (selection.stencil != nullptr) {
            outer = row.bytes;
            row = maskRun(*selection.stencil, 0, selection.stencilTop + j, row.count);
        }
        for (std::int64_t i = 0; i < row.count; i += Longest) {
            const std::int64_t count = std::min(Longest, row.count - i);
            const std::uint8_t* bytes = row.bytes != nullptr ? row.bytes + i : nullptr;
            if (outer != nullptr) {
                for (std::int64_t k = 0; k < count; ++k)
                    both[static_cast<std::size_t>(k)] = outer[i + k] != 0 ? bytes[k] : std::uint8_t{0};
                bytes = both.data();
            }
            visit(selection.left + i, y, count, bytes);
        }
    }
}

}  // namespace ko
