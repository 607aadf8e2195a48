// Argument checks: statements about images and regions, and the table that turns them into a status.
//
// Every row of a table is evaluated before the first false one answers, so each predicate is total: it never
// touches pixel data and forms every product in 64 bits.
#pragma once

#include <ko/image.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>

namespace ko {

struct Check {
    ResultCode code;
    bool holds;
};

/// Status of the first check that does not hold, `ResultOk` when all do.
inline ResultCode firstFailure(std::initializer_list<Check> checks) noexcept
{
    for (const Check& check : checks) {
        if (!check.holds)
            return check.code;
    }
    return ResultOk;
}

/// The bytes that the samples of a row take (of one plane, for planar data). Counts below 0 are none, and
/// more samples than any stride can hold are cut, so that no product overflows.
inline std::int64_t rowBytes(const SxImageInfo& info) noexcept
{
    constexpr std::int64_t beyondAnyStride = std::int64_t{1} << 40;
    const std::int64_t channels = info.packing == Interleaved ? std::max(info.channels, 0) : 1;
    const std::int64_t samples = std::max(info.width, 0) * channels;
    return samples > beyondAnyStride ? beyondAnyStride : samples * bytesPerSample(info.dataType);
}

/// The last row ends inside the image's memory, and addresses can span that memory. An image without rows may
/// have any stride, but even there no row may be longer than the longest stride: working memory is allocated by
/// the length of a row. The geometry of a record is checked last, when the operation is known to support its
/// type.
inline bool rowsFit(const SxImageInfo& info) noexcept
{
    constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();
    return info.stride >= 0 && rowBytes(info) <= (info.height == 0 ? longest : info.stride) &&
           imageByteSize(info) <= std::size_t{std::numeric_limits<std::ptrdiff_t>::max()};
}

/// The image has pixel memory, and no negative size.
inline bool isPresent(const SxImageBuf& image) noexcept
{
    return image.data != nullptr && image.width >= 0 && image.height >= 0;
}

/// There is at least one sample.
inline bool hasPixels(const SxImageInfo& info) noexcept
{
    return info.width > 0 && info.height > 0 && info.channels > 0;
}

inline bool isMono(const SxImageInfo& info) noexcept
{
    return info.channels == 1;
}

inline bool isInterleaved(const SxImageInfo& info) noexcept
{
    return info.packing == Interleaved;
}

inline bool isPlanar(const SxImageInfo& info) noexcept
{
    return info.packing == Planar;
}

/// A packing that exists, whatever the number of channels.
inline bool hasKnownPacking(const SxImageInfo& info) noexcept
{
    return isInterleaved(info) || isPlanar(info);
}

/// A packing with a meaning for this image: any packing will do for a mono image.
inline bool hasLayout(const SxImageInfo& info) noexcept
{
    return isMono(info) || hasKnownPacking(info);
}

/// Samples under a colour filter, of a pattern that is known or not.
inline bool isMosaic(const SxImageInfo& info) noexcept
{
    return isMono(info) && info.bayerGrid != BayerNone;
}

/// The image's sample type is one of those named.
template <class... Types>
bool hasType(const SxImageInfo& info, Types... types) noexcept
{
    return ((info.dataType == types) || ...);
}

/// The image's channel count is one of those named.
template <class... Counts>
bool hasChannels(const SxImageInfo& info, Counts... counts) noexcept
{
    return ((info.channels == counts) || ...);
}

inline bool hasChannel(const SxImageInfo& info, int channel) noexcept
{
    return channel >= 0 && channel < info.channels;
}

inline bool sameSize(const SxImageInfo& a, const SxImageInfo& b) noexcept
{
    return a.width == b.width && a.height == b.height;
}

/// Samples at the same places, whatever their types.
inline bool sameGeometry(const SxImageInfo& a, const SxImageInfo& b) noexcept
{
    return sameSize(a, b) && a.channels == b.channels && a.packing == b.packing;
}

/// Equal in everything but size, stride and the reserved words.
inline bool sameFormat(const SxImageInfo& a, const SxImageInfo& b) noexcept
{
    return a.channels == b.channels && a.bitsPerSample == b.bitsPerSample && a.bayerGrid == b.bayerGrid &&
           a.dataType == b.dataType && a.packing == b.packing && a.pixelFormat == b.pixelFormat;
}

/// Present, and like the other image in all that makes their samples correspond.
inline bool isTwinOf(const SxImageBuf& image, const SxImageInfo& other) noexcept
{
    return isPresent(image) && sameSize(image, other) && sameFormat(image, other);
}

/// A mask: present, one channel, `UInt8`.
inline bool isMask(const SxImageBuf& mask) noexcept
{
    return isPresent(mask) && isMono(mask) && hasType(mask, UInt8);
}

/// A mask of the image's size.
inline bool isMaskOf(const SxImageBuf& mask, const SxImageInfo& image) noexcept
{
    return isMask(mask) && sameSize(mask, image);
}

/// Columns and rows of a rectangle. A QRect stores its corners, so its own width() and height() can overflow.
inline std::int64_t widthOf(const QRect& rect) noexcept
{
    return std::int64_t{rect.right()} - rect.left() + 1;
}

inline std::int64_t heightOf(const QRect& rect) noexcept
{
    return std::int64_t{rect.bottom()} - rect.top() + 1;
}

/// The rectangle lies wholly inside the image. One without width and height is inside wherever it lies, one
/// without only width or only height if its position is inside, one of negative size never.
inline bool isInside(const QRect& rect, const SxImageInfo& image) noexcept
{
    const std::int64_t width = widthOf(rect), height = heightOf(rect);
    if (width == 0 && height == 0)
        return true;
    return rect.left() >= 0 && rect.top() >= 0 && width >= 0 && height >= 0 &&
           rect.left() + width <= image.width && rect.top() + height <= image.height;
}

inline bool isInside(const QPoint& point, const SxImageInfo& image) noexcept
{
    return point.x() >= 0 && point.y() >= 0 && point.x() < image.width && point.y() < image.height;
}

/// A rectangle of this size with its corner at `pos` lies inside the image.
inline bool fitsAt(const QPoint& pos, std::int64_t width, std::int64_t height,
                   const SxImageInfo& image) noexcept
{
    return pos.x() >= 0 && pos.y() >= 0 && pos.x() + width <= image.width && pos.y() + height <= image.height;
}

/// The whole image as a region; negative sizes, from which QRect's corners could overflow, count as 0.
inline QRect wholeOf(const SxImageInfo& image) noexcept
{
    return {0, 0, std::max(image.width, 0), std::max(image.height, 0)};
}

}  // namespace ko
