// Rows that a row function takes together.
//
// A call of a row function costs as much as some hundred samples: its own start and end, and those of its loops.
#pragma once

#include "base/image_view.h"
#include "base/row_pairs.h"
#include "base/rows.h"

#include <algorithm>
#include <cstdint>

namespace ko {

/// The row length and the distance between rows are the same.
inline bool isGapless(const SxImageInfo& info) noexcept
{
    return rowBytes(info) == info.stride;
}

/// The rows of a loop in runs that a row function takes as one row: each row on its own, or as many as make its call
/// too short to count, and few enough that threads get equal shares.
class RowRuns {
public:
    /// @param work     of the rows one by one
    /// @param rowBytes  of the image that has the longest rows, if no image has gaps
    RowRuns(const RowWork& work, bool isGapless, std::int64_t rowBytes) noexcept
        : m_work(work), m_perRun(isGapless && rowBytes > 0 ? std::max<std::int64_t>(enough / rowBytes, 1) : 1)
    {
        // A loop over runs has too few of them to look like one over a large image.
        prepareFetching(work.rows);
    }

    /// For loops over the runs.
    RowWork work() const noexcept
    {
        return {(m_work.rows + m_perRun - 1) / m_perRun, m_work.bytes * m_perRun};
    }
    bool areJoined() const noexcept { return m_perRun > 1; }
    std::int64_t firstRow(std::int64_t run) const noexcept { return run * m_perRun; }
    std::int64_t rowsOf(std::int64_t run) const noexcept
    {
        return std::min(m_perRun, m_work.rows - firstRow(run));
    }

private:
    static constexpr std::int64_t enough = std::int64_t{1} << 14;

    RowWork m_work;
    std::int64_t m_perRun;
};

/// Rows of two images of one size whose samples are treated alike, some at a time: `body(pairs)`. Rows that follow
/// each other without gaps in both images are one long row.
template <class Body>
void pairsStatic(const SxImageBuf& src, SxImageBuf& dst, std::int64_t samplesPerRow, const Body& body)
{
    static_assert(noexcept(body(RowPairs{})));
    const RowRuns runs(workOn(src, dst), true, std::max(rowBytes(src), rowBytes(dst)));
    const bool areJoined = isGapless(src) && isGapless(dst);
    rowsStatic(runs.work(), [&](std::int64_t run) noexcept {
        const std::int64_t y = runs.firstRow(run), rows = runs.rowsOf(run);
        RowPairs pairs{rowOf(src, y), src.stride, rowOf(dst, y), dst.stride, rows, samplesPerRow};
        if (areJoined) {
            pairs.rows = 1;
            pairs.samples *= rows;
        }
        body(pairs);
    });
}

}  // namespace ko
