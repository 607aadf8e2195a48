// The work buffer of Median: the strips that an image is cut into, each with scratch memory of its own.
#pragma once

#include <ko/image.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ko {

/// A vertical strip of the image; one thread works on it.
struct MedianTile {
    std::int32_t firstRow;
    std::int32_t lastRow;
    std::int32_t firstColumn;
    std::int32_t lastColumn;
    std::int32_t bins;      ///< 2^bitsPerSample
    std::int32_t channels;  ///< of the image
    std::int32_t
        sourceColumns;  ///< columns read: the strip's own and r more on either side, as far as they exist
    std::vector<std::uint8_t> scratch;
};

struct MedianPlan {
    SxImageInfo info;  ///< the image that the strips were cut for
    std::vector<MedianTile> tiles;
};

/// What the program holds between `MedianAllocBuffer` and `MedianFreeBuffer`. The radius is not recorded: a
/// buffer serves every radius that its counters and its strips' columns are large enough for.
struct MedianBuffer {
    std::uint64_t counterWidth;
    std::unique_ptr<MedianPlan> plan;
};

/// The window of `2 * radius + 1` samples is not longer than `extent`.
bool medianWindowFits(std::int64_t radius, std::int64_t extent) noexcept;

/// Bytes of a counter that can hold every sample of the window: 1, 2 or 4.
std::uint64_t medianCounterWidth(std::int64_t radius) noexcept;

/// The strips of an image of the given format, left to right without gaps, and no scratch memory yet.
/// `threads` should have a strip each where the image is wide enough for it.
std::vector<MedianTile> cutIntoTiles(const SxImageInfo& info, std::int64_t radius, int threads);

/// The buffer was made for images of `src`'s format and is large enough for the radius.
bool servesImage(const MedianBuffer& buffer, const SxImageInfo& src, std::int64_t radius) noexcept;

}  // namespace ko
