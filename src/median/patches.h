// The parts of an image that an engine is chosen for.
#pragma once

#include <ko/image.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko {

inline constexpr std::int64_t medianPatchColumns = 256;

/// Rows of the lowest patches; others have a multiple of them.
inline constexpr std::int64_t leastMedianPatchRows = 128;

/// Which patches of an image still have to get their medians. Threads may take patches at the same time.
class MedianPatches {
public:
    /// Leaves all patches of an image.
    void reset(const SxImageInfo& image, std::int64_t patchRows)
    {
        m_width = image.width;
        m_height = image.height;
        m_patchRows = patchRows;
        m_columns = (image.width + medianPatchColumns - 1) / medianPatchColumns;
        const std::int64_t rows = (image.height + patchRows - 1) / patchRows;
        m_left.assign(static_cast<std::size_t>(m_columns * rows), 1);
    }
    std::int64_t patchRows() const noexcept { return m_patchRows; }

    /// Columns x ... end - 1 of the rows `top` ... `bottom` - 1.
    struct Patch {
        std::int64_t x;
        std::int64_t end;
        std::int64_t top;
        std::int64_t bottom;
    };
    std::int64_t count() const noexcept { return static_cast<std::int64_t>(m_left.size()); }
    Patch at(std::int64_t index) const noexcept
    {
        const std::int64_t x = index % m_columns * medianPatchColumns, y = index / m_columns * m_patchRows;
        return {x, std::min(x + medianPatchColumns, m_width), y, std::min(y + m_patchRows, m_height)};
    }
    void take(std::int64_t index) noexcept { m_left[static_cast<std::size_t>(index)] = 0; }
    bool isAnyLeft() const noexcept { return std::find(m_left.begin(), m_left.end(), 1) != m_left.end(); }

    struct Run {
        std::int64_t first;
        std::int64_t end;
        bool operator==(const Run&) const = default;
    };
    /// The first run of columns in first ... end - 1 that are left in row y; empty at the end if there is none.
    Run nextLeft(std::int64_t first, std::int64_t end, std::int64_t y) const noexcept
    {
        while (first < end && !isLeft(first, y))
            first = std::min(behind(first), end);
        std::int64_t last = first;
        while (last < end && isLeft(last, y))
            last = std::min(behind(last), end);
        return {first, last};
    }
    /// Calls `body(run)` for all runs of columns that are left.
    template <class Body>
    void forEachLeft(std::int64_t first, std::int64_t end, std::int64_t y, const Body& body) const noexcept
    {
        for (Run run = nextLeft(first, end, y); run.first < run.end; run = nextLeft(run.end, end, y))
            body(run);
    }
    /// Whether this is one of these.
    bool isRun(Run run, std::int64_t first, std::int64_t end, std::int64_t y) const noexcept
    {
        bool isOne = false;
        forEachLeft(first, end, y, [&](Run other) { isOne = isOne || other == run; });
        return isOne;
    }

private:
    static std::int64_t behind(std::int64_t x) noexcept
    {
        return (x / medianPatchColumns + 1) * medianPatchColumns;
    }
    bool isLeft(std::int64_t x, std::int64_t y) const noexcept
    {
        return m_left[static_cast<std::size_t>(y / m_patchRows * m_columns + x / medianPatchColumns)] != 0;
    }

    std::int64_t m_width = 0;
    std::int64_t m_height = 0;
    std::int64_t m_patchRows = leastMedianPatchRows;
    std::int64_t m_columns = 0;
    std::vector<std::uint8_t> m_left;
};

}  // namespace ko
