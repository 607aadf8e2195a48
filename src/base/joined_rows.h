// Rows that follow each other without gaps, taken as longer ones.
//
// A call of a row function costs as much as some hundred samples: its own start and end, and those of its loops.
#pragma once

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

/// `rowsStatic` over images of one size, whose pixels are treated alike: `body(y, width)` for the first row of every
/// run, with the pixels in the run.
template <class Body, class... Others>
void runsStatic(const RowWork& work, const Body& body, const SxImageInfo& image, const Others&... others)
{
    static_assert(noexcept(body(std::int64_t{}, std::int64_t{})));
    const RowRuns runs(work, (isGapless(image) && ... && isGapless(others)),
                       std::max({rowBytes(image), rowBytes(others)...}));
    rowsStatic(runs.work(),
               [&](std::int64_t run) noexcept { body(runs.firstRow(run), runs.rowsOf(run) * image.width); });
}

}  // namespace ko
