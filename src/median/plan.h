// The work buffer of Median: the strips that an image is cut into, and scratch memory for them.
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
};

struct MedianPlan {
    SxImageInfo info;  ///< the image that the strips were cut for
    std::vector<MedianTile> tiles;
};

/// Memory that threads work in, since their stacks may be small. Each part begins at a whole cache line: rows
/// of vectors that lie across two lines cost a tenth more in all.
class MedianScratch {
public:
    /// Makes room for `parts` parts of `bytes` bytes, whose contents are undefined.
    void reserve(std::size_t parts, std::size_t bytes);
    std::byte* part(std::size_t index) const noexcept { return m_lines[index * m_linesPerPart].bytes; }

private:
    struct alignas(64) CacheLine {
        std::byte bytes[64];
    };
    std::unique_ptr<CacheLine[]> m_lines;
    std::size_t m_size = 0;
    std::size_t m_linesPerPart = 0;
};

/// What the program holds between `MedianAllocBuffer` and `MedianFreeBuffer`. The radius is not recorded: a
/// buffer serves every radius that its counters and its strips' columns are large enough for.
struct MedianBuffer {
    std::uint64_t counterWidth;
    std::unique_ptr<MedianPlan> plan;
    MedianScratch scratch;
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
