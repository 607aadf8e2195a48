// Which pixels of an image an operation visits.
#pragma once

#include "base/checks.h"
#include "base/image_view.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ko {

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
    const SxImageBuf* stencil = nullptr;  ///< of the rectangle's size; null: all

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

    bool isMasked() const noexcept { return mask != nullptr || stencil != nullptr; }
    std::int64_t pixels() const noexcept { return width > 0 && height > 0 ? width * height : 0; }

private:
    Selection(std::int64_t x, std::int64_t y, std::int64_t columns, std::int64_t rows,
              const SxImageBuf* imageMask) noexcept
        : left(x), top(y), width(columns), height(rows), mask(imageMask)
    {
    }
};

/// Longest run that `forEachRun` hands out, so that its users can buffer one. Even, which keeps pairs of
/// samples together.
inline constexpr std::int64_t longestRun = 4096;

/// Calls `visit(x, y, count, mask)` for runs of pixels that together cover the selection; `mask` has a byte
/// per pixel, or is null where all pixels are selected.
template <class Visit>
void forEachRun(const Selection& selection, const Visit& visit)
{
    std::array<std::uint8_t, longestRun> both;
    for (std::int64_t j = 0; j < selection.height; ++j) {
        const std::int64_t y = selection.top + j;
        for (std::int64_t i = 0; i < selection.width; i += longestRun) {
            const std::int64_t x = selection.left + i;
            MaskRun run{nullptr, std::min(longestRun, selection.width - i)};
            if (selection.mask != nullptr)
                run = maskRun(*selection.mask, x, y, run.count);
            if (selection.stencil != nullptr) {
                const std::uint8_t* const outer = run.bytes;
                run = maskRun(*selection.stencil, i, j, run.count);
                if (outer != nullptr) {
                    for (std::int64_t k = 0; k < run.count; ++k)
                        both[static_cast<std::size_t>(k)] = outer[k] != 0 ? run.bytes[k] : std::uint8_t{0};
                    run.bytes = both.data();
                }
            }
            if (run.count <= 0)
                break;
            visit(x, y, run.count, run.bytes);
        }
    }
}

}  // namespace ko
