// Rows of a mosaic as lines of even and odd columns, extended beyond the image by mirroring.
#pragma once

#include "base/image_view.h"
#include "core/bayer_cell.h"
#include "core/bayer_kernels.h"

#include <QRect>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ko {

/// What the colours of a mosaic row are and where they lie in its pairs of columns.
struct RowKind {
    bool colourFirst;  ///< red or blue in the first columns, green in the second ones
    bool isRed;        ///< red, not blue
};

/// The kind of row `y` of a region whose cells are `cell`; y may be negative.
constexpr RowKind kindOf(BayerCell cell, std::int64_t y) noexcept
{
    const bool isRed = (y & 1) == cell.redRow;
    return {(cell.redColumn == 0) == isRed, isRed};
}

/// The index that lies at `index` in the mirror at the first or last of `count` samples, which stand in it
/// themselves: samples keep their colours.
constexpr std::int64_t mirrored(std::int64_t index, std::int64_t count) noexcept
{
    if (count == 1)
        return 0;
    while (index < 0 || index >= count)
        index = index < 0 ? -index : 2 * (count - 1) - index;
    return index;
}

/// Pairs that a line has before and behind those of its region, for filters of up to ten columns.
inline constexpr std::int64_t pairMargin = 5;

/// Elements before the first pair of a line. There is room for the margin, and the first pair starts a cache
/// line: vectors that start between cache lines take twice as long to load.
inline constexpr std::int64_t lineLead = 32;

/// Elements between the starts of two lines: behind a line there is room for the margin and a vector.
constexpr std::int64_t linePitch(std::int64_t pairs) noexcept
{
    constexpr std::int64_t longestVector = 32;
    return (lineLead + pairs + pairMargin + longestVector + lineLead - 1) / lineLead * lineLead;
}

/// Lines that follow the rows of a mosaic: those of row y and of row y + Count share their memory.
template <class E, int Count>
class LineRing {
public:
    /// Takes its lines from the memory.
    LineRing(std::byte*& memory, std::int64_t pitch) : m_first(reinterpret_cast<E*>(memory)), m_pitch(pitch)
    {
        memory += Count * pitch * std::int64_t{sizeof(E)};
    }
    E* operator[](std::int64_t y) const noexcept
    {
        return m_first + (y % Count + Count) % Count * m_pitch + lineLead;
    }

private:
    E* m_first;
    std::int64_t m_pitch;
};

/// The lines of mosaic rows.
template <class E, int Count>
struct MosaicLines {
    using Ring = LineRing<E, Count>;
    Ring first, second;

    MosaicLines(std::byte*& memory, std::int64_t pitch) : first(memory, pitch), second(memory, pitch) {}
    /// The columns in which a row of this kind has its colour.
    const Ring& own(RowKind kind) const noexcept { return kind.colourFirst ? first : second; }
    const Ring& between(RowKind kind) const noexcept { return kind.colourFirst ? second : first; }
};

/// Fills the lines of row `y` of the region, and `margin` pairs before and behind it, `pairMargin` at the most.
/// `split` does so for pairs inside the image.
template <class T, class E, int Count, class Split>
void loadLines(const SxImageBuf& src, const QRect& roi, std::int64_t y, std::int64_t margin,
               const MosaicLines<E, Count>& lines, const Split& split) noexcept
{
    const std::uint8_t* const row = rowOf(src, mirrored(roi.top() + y, src.height));
    const std::int64_t left = roi.left(), end = (widthOf(roi) + 1) / 2 + margin;
    E* const first = lines.first[y];
    E* const second = lines.second[y];
    const auto mirror = [&](std::int64_t from, std::int64_t to) {
        for (std::int64_t i = from; i < to; ++i) {
            first[i] = static_cast<E>(loadSample<T>(row, mirrored(left + 2 * i, src.width)));
            second[i] = static_cast<E>(loadSample<T>(row, mirrored(left + 2 * i + 1, src.width)));
        }
    };
    const std::int64_t inside = std::clamp(-(left / 2), -margin, end);
    const std::int64_t outside = std::clamp((src.width - left) / 2, inside, end);
    mirror(-margin, inside);
    split(row + (left + 2 * inside) * std::int64_t{sizeof(T)}, first + inside, second + inside,
          outside - inside);
    mirror(outside, end);
}

}  // namespace ko
