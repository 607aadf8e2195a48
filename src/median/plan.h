// The work buffer of Median, and where to find what in this room.
//
// Four engines find the medians, with the same bytes; `median.cpp` chooses by radius and sample type. One of them
// takes only the parts of an image that suit it.
//
// Radius 0 to 2, sorting networks (network*): every column of the windows of a row is sorted once, then
// neighbours are merged. Three columns are sorted again, or moved to their other windows by processors that
// move samples from vector to vector, which is faster. A network compares the same places
// whatever their values, so a vector of windows goes through it at once, and windows side by side share most of
// it. It grows with the square of the radius; from radius 3 on, its values no longer fit into the registers.
//
// Radius 3 to 9, tiles (tile*): the windows of 4 x 4 pixels share most of their samples, which are sorted
// once for all of them. What is left is added while the tile is halved. It also grows with the radius, but
// slower. Processors without vectors count bytes instead, and deeper samples from radius 8 on, which is faster
// there. Those with SSE4 alone count bytes from radius 8 on.
//
// From radius 10 on, columns (column*): every column keeps a histogram of its samples in the rows of the
// windows, and a window's histogram is the sum of its columns'. Neighbours differ by two columns, so the radius
// costs little, and what the image shows costs almost nothing. Bytes are counted as they are; deeper samples get
// codes of 12 bits first, which are their values where these lie close enough together, and otherwise their
// places in ascending order.
//
// Radius 5 to 127, bytes, where a picture changes slowly: levels (level*). All windows of a block are compared with
// one threshold after the other, as many as its medians have values, which a few samples foretell. That takes a half
// to a quarter of the time of tiles and columns, which get what is left: patches whose medians differ more.
// Processors without vectors leave everything.
//
// The words of this room:
//
//   window  the square around a pixel that the median is taken of
//   strip   a vertical part of the image that one thread works on at a time (columns)
//   band    rows that one thread works on at a time (networks, tiles, levels)
//   patch   a part of the image that is taken by levels or left, with all channels
//   tile    4 x 4 pixels whose medians are found together
//   block   a part of a strip, one channel of it, whose columns have histograms at a time; one of a patch whose
//           windows are compared at a time
//   piece   as many columns as a kernel takes at a time (networks, tiles)
//
// Networks, tiles and levels want whole windows. What these find outside the image is the same for all: `outside.h`.
#pragma once

#include "base/cache_line.h"
#include "median/patches.h"

#include <ko/image.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ko {

/// A vertical part of the image; one thread works on it.
struct MedianStrip {
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
    std::vector<MedianStrip> strips;
};

/// Memory that threads work in, since their stacks may be small. Each part begins at a whole cache line: rows
/// of vectors that lie across two lines cost a tenth more in all.
class MedianScratch {
public:
    /// Makes room for `parts` parts of `bytes` bytes, whose contents are undefined.
    void reserve(std::size_t parts, std::size_t bytes);
    std::byte* part(std::size_t index) const noexcept { return m_lines[index * m_linesPerPart].bytes; }

private:
    std::unique_ptr<CacheLine[]> m_lines;
    std::size_t m_size = 0;
    std::size_t m_linesPerPart = 0;
};

/// What the program holds between `MedianAllocBuffer` and `MedianFreeBuffer`. The radius is not recorded: a
/// buffer serves every radius that its counters and its strips' columns are large enough for.
struct MedianWork {
    std::uint64_t counterWidth;
    std::unique_ptr<MedianPlan> plan;
    MedianScratch scratch;
    MedianPatches patches;
};

/// The window of `2 * radius + 1` samples is not longer than `extent`.
bool medianWindowFits(std::int64_t radius, std::int64_t extent) noexcept;

/// Bytes of a counter that can hold every sample of the window: 1, 2 or 4.
std::uint64_t medianCounterWidth(std::int64_t radius) noexcept;

/// The strips of an image of the given format, left to right without gaps.
/// `threads` should have a strip each where the image is wide enough for it.
std::vector<MedianStrip> cutIntoStrips(const SxImageInfo& info, std::int64_t radius, int threads);

/// The buffer was made for images of `src`'s format and is large enough for the radius.
bool servesImage(const MedianWork& buffer, const SxImageInfo& src, std::int64_t radius) noexcept;

}  // namespace ko
