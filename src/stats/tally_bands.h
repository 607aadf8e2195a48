// Counting in bands of rows, on several threads where the program allows it.
#pragma once

#include "base/rows.h"
#include "stats/tally.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko {

/// How many bands to cut `rows` rows into: no more than `CallThreads` allows, and none with fewer samples than are
/// worth a thread or than a band's `counters`, which somebody has to add up.
inline int worthwhileBands(std::int64_t rows, std::int64_t samples, std::int64_t counters) noexcept
{
    const std::int64_t least = std::max(TallyTables::fewSamples, counters);
    return static_cast<int>(
        std::clamp<std::int64_t>(std::min(rows, samples / least), 1, CallThreads::current()));
}

/// Calls `count(begin, end, target, tables)` for bands of `rows` rows that hold `samples` samples: for all rows
/// on the calling thread, or for several bands at once. The first band counts into the caller's histogram, each
/// other one into a histogram of its own, which is added at the end. Every band has `tableCount` tables, unless its
/// samples are few.
/// @throws std::bad_alloc, before anything is counted
template <class Count>
void countInBands(std::int64_t rows, std::int64_t samples, int tableCount, const TallyTarget& target,
                  const Count& count)
{
    const int planes = std::max(target.hist.planes, 0);
    const int bands = worthwhileBands(rows, samples, planes * static_cast<std::int64_t>(target.limit));
    std::vector<CxImageHistogram> others(static_cast<std::size_t>(bands - 1));
    for (CxImageHistogram& other : others)
        other.resize(planes, static_cast<std::int32_t>(target.limit), 0);
    std::vector<TallyTables> tables;
    tables.reserve(static_cast<std::size_t>(bands));
    for (int band = 0; band < bands; ++band)
        tables.emplace_back(samples / bands, tableCount);
    inBands(bands, rows, [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        const auto index = static_cast<std::size_t>(band);
        count(begin, end, band == 0 ? target : TallyTarget(others[index - 1], target.limit), tables[index]);
    });
    for (const CxImageHistogram& other : others)
        target.add(other);
}

}  // namespace ko
