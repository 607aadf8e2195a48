#include <ko/masks.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/image_view.h"
#include "base/rows.h"

#include <bit>
#include <cstring>
#include <limits>

namespace ko {

namespace {

struct Margins {
    std::int64_t left, top, right, bottom;
};

bool isIn(std::int64_t margin, std::int64_t most)
{
    return margin >= 0 && margin <= most;
}

bool fitsSize(std::int64_t extent)
{
    return extent <= std::numeric_limits<std::int32_t>::max();
}

/// The margins against a region of the given size, numbered from `first` in the order left, right, top,
/// bottom.
ResultCode checkMargins(std::int64_t width, std::int64_t height, const Margins& m, ResultCode first)
{
    const auto code = [&](unsigned offset) { return static_cast<ResultCode>(first + offset); };
    return firstFailure({
        {code(0), isIn(m.left, width) && fitsSize(width + m.left)},
        {code(1), isIn(m.right, width) && fitsSize(width + m.left + m.right)},
        {code(2), isIn(m.top, height) && fitsSize(height + m.top)},
        {code(3), isIn(m.bottom, height) && fitsSize(height + m.top + m.bottom)},
    });
}

bool isBorderSource(const SxImageBuf& src)
{
    return isInterleaved(src) && isPresent(src) && hasChannels(src, 1, 3, 4);
}

bool isBorderedSize(const SxImageInfo& dst, std::int64_t width, std::int64_t height, const Margins& m)
{
    return dst.width == width + m.left + m.right && dst.height == height + m.top + m.bottom;
}

/// Makes room for the margins in a record and allocates it; its stride and data are chosen anew.
ResultCode allocateEnlarged(SxImageBuf& image, const Margins& m)
{
    image.width = static_cast<std::int32_t>(image.width + m.left + m.right);
    image.height = static_cast<std::int32_t>(image.height + m.top + m.bottom);
    image.stride = 0;
    image.data = nullptr;
    return AllocBuffer(image, image, true);
}

/// The pixels of a word in reverse order, the bytes of each in theirs.
template <std::int64_t PixelBytes>
std::uint64_t reversed(std::uint64_t pixels) noexcept
{
    if constexpr (PixelBytes == 4)
        return std::rotl(pixels, 32);
    const std::uint64_t bytes = __builtin_bswap64(pixels);
    constexpr std::uint64_t second = 0x00FF00FF00FF00FF;
    return PixelBytes == 1 ? bytes : (bytes >> 8 & second) | (bytes & second) << 8;
}

/// Writes pixels in reverse order, the first one before `end`, the next one before that.
template <std::int64_t PixelBytes>
void mirror(const std::uint8_t* from, std::uint8_t* end, std::int64_t count) noexcept
{
    std::int64_t j = 0;
    if constexpr (PixelBytes <= 4 && PixelBytes != 3) {
        constexpr std::int64_t perWord = 8 / PixelBytes;
        for (; j + perWord <= count; j += perWord) {
            const auto word = loadSample<std::uint64_t>(from + j * PixelBytes, 0);
            storeSample(end - (j + perWord) * PixelBytes, 0, reversed<PixelBytes>(word));
        }
    }
    for (; j < count; ++j)
        std::memcpy(end - (1 + j) * PixelBytes, from + j * PixelBytes, PixelBytes);
}

/// Fills both side margins of a row whose region starts at `inside` and is a copy of `from`. Reading the
/// original does not wait for the copy to be stored.
using MirrorSides = void (*)(const std::uint8_t* from, std::uint8_t* inside, std::int64_t width,
                             const Margins& m) noexcept;

template <std::int64_t PixelBytes>
void mirrorSides(const std::uint8_t* from, std::uint8_t* inside, std::int64_t width,
                 const Margins& m) noexcept
{
    mirror<PixelBytes>(from, inside, m.left);
    mirror<PixelBytes>(from + (width - m.right) * PixelBytes, inside + (width + m.right) * PixelBytes,
                       m.right);
}

/// For 1, 3 or 4 samples of 1 or 2 bytes.
MirrorSides mirrorSidesOf(std::int64_t pixelBytes)
{
    switch (pixelBytes) {
    case 1:
        return &mirrorSides<1>;
    case 2:
        return &mirrorSides<2>;
    case 3:
        return &mirrorSides<3>;
    case 4:
        return &mirrorSides<4>;
    case 6:
        return &mirrorSides<6>;
    default:
        return &mirrorSides<8>;
    }
}

/// Rows of the region first, then whole rows of the top and bottom margins: a mirrored row carries the
/// corners.
void copyMirrored(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, const Margins& m,
                  bool fillMargins)
{
    const std::int64_t pixelBytes = std::int64_t{src.channels} * bytesPerSample(src.dataType);
    const std::int64_t width = roi.width(), height = roi.height();
    const MirrorSides fillSides = mirrorSidesOf(pixelBytes);
    rowsDynamic({height, 2 * rowBytes(dst)}, [&](std::int64_t y) noexcept {
        std::uint8_t* const inside = rowOf(dst, m.top + y) + m.left * pixelBytes;
        const std::uint8_t* const from = rowOf(src, roi.top() + y) + roi.left() * pixelBytes;
        std::memcpy(inside, from, static_cast<std::size_t>(width * pixelBytes));
        if (fillMargins)
            fillSides(from, inside, width, m);
    });
    if (!fillMargins)
        return;
    const auto wholeRow = static_cast<std::size_t>(rowBytes(dst));
    rowsDynamic({m.top, 2 * rowBytes(dst)}, [&](std::int64_t i) noexcept {
        std::memcpy(rowOf(dst, m.top - 1 - i), rowOf(dst, m.top + i), wholeRow);
    });
    const std::int64_t end = m.top + height;
    rowsDynamic({m.bottom, 2 * rowBytes(dst)}, [&](std::int64_t i) noexcept {
        std::memcpy(rowOf(dst, end + i), rowOf(dst, end - 1 - i), wholeRow);
    });
}

}  // namespace

ResultCode AllocSafeBorderImage(const SxImageInfo& info, SxImageBuf& dst, int left, int top, int right,
                                int bottom)
{
    return guarded([&] {
        const Margins margins{left, top, right, bottom};
        if (const ResultCode rc = firstFailure({{ResultBadArg1, isInterleaved(info)}}))
            return rc;
        if (const ResultCode rc = checkMargins(info.width, info.height, margins, ResultBadArg3))
            return rc;
        static_cast<SxImageInfo&>(dst) = info;
        return allocateEnlarged(dst, margins);
    });
}

ResultCode InitSafeBorder(const SxImageBuf& src, SxImageBuf& dst, int left, int top, int right, int bottom)
{
    return guarded([&] {
        const Margins m{left, top, right, bottom};
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg3, left >= 0 && fitsSize(src.width + m.left)},
                {ResultBadArg4, top >= 0 && fitsSize(src.height + m.top)},
                {ResultBadArg5, right >= 0 && fitsSize(src.width + m.left + m.right)},
                {ResultBadArg6, bottom >= 0 && fitsSize(src.height + m.top + m.bottom)},
            }))
            return rc;
        const SxImageBuf source = src;
        dst = source;
        if (isFailure(allocateEnlarged(dst, m)))
            return ResultFailed;
        const ResultCode copied = CopyBuffer(source, wholeOf(source), dst, QPoint(left, top), true);
        return isFailure(copied) ? ResultFailed : copied;
    });
}

ResultCode CreateImageWithMirroredBorder(const SxImageBuf& src, SxImageBuf& dst, int left, int top, int right,
                                         int bottom)
{
    return guarded([&] {
        const Margins margins{left, top, right, bottom};
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isBorderSource(src)},
                {ResultBadArg2, isPresent(dst) && sameFormat(dst, src)},
                {ResultBadArg2, isBorderedSize(dst, src.width, src.height, margins)},
            }))
            return rc;
        if (const ResultCode rc = checkMargins(src.width, src.height, margins, ResultBadArg3))
            return rc;
        if (const ResultCode rc =
                firstFailure({{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}}))
            return rc;
        return CreateImageWithMirroredBorder(src, wholeOf(src), dst, left, top, right, bottom);
    });
}

ResultCode CreateImageWithMirroredBorder(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, int left,
                                         int top, int right, int bottom)
{
    return guarded([&] {
        const Margins margins{left, top, right, bottom};
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isBorderSource(src)},
                {ResultBadArg2, isInside(roi, src)},
                {ResultBadArg3, isPresent(dst) && sameFormat(dst, src)},
            }))
            return rc;
        // The region lies inside the image from here on, so its size is one that can be formed.
        const std::int64_t width = roi.width(), height = roi.height();
        if (const ResultCode rc =
                firstFailure({{ResultBadArg3, isBorderedSize(dst, width, height, margins)}}))
            return rc;
        if (const ResultCode rc = checkMargins(width, height, margins, ResultBadArg4))
            return rc;
        const int bytes = bytesPerSample(src.dataType);
        if (const ResultCode rc = firstFailure({
                {ResultUnsupportedType, bytes != 0},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg3, rowsFit(dst)},
            }))
            return rc;
        const bool hasMargin = left != 0 || right != 0 || top != 0 || bottom != 0;
        const bool canFill = bytes == 1 || bytes == 2;
        copyMirrored(src, roi, dst, margins, hasMargin && canFill);
        return hasMargin && !canFill ? ResultUnsupportedType : ResultOk;
    });
}

ResultCode AllocAndCreateMirroredBorderImage(const SxImageBuf& src, SxImageBuf& dst, int left, int top,
                                             int right, int bottom)
{
    const ResultCode allocated = AllocSafeBorderImage(src, dst, left, top, right, bottom);
    return isFailure(allocated) ? allocated
                                : CreateImageWithMirroredBorder(src, dst, left, top, right, bottom);
}

}  // namespace ko
