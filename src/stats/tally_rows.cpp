#include "base/channels.h"
#include "stats/gathering.h"
#include "stats/tally_bands.h"

#include <algorithm>
#include <array>

namespace ko {

namespace {

template <class T>
void countAll(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes,
              TallyTables& tables) noexcept
{
    Tally<T> tally(target, planes, tables);
    for (std::int64_t y = 0; y < rows.rows; ++y)
        tally.add(rows.first + y * rows.stride, rows.samples);
    tally.finish();
}

/// The only plane of a pattern that takes samples. They cost less to bring together than to count with the others.
template <class T>
void countOne(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes,
              std::size_t place, TallyTables& tables) noexcept
{
    constexpr auto size = static_cast<std::int64_t>(sizeof(T));
    const auto period = static_cast<std::int64_t>(planes.size());
    const std::int64_t pixels = rows.samples / period;
    Tally<T> tally(target, planes.subspan(place, 1), tables);
    std::array<std::uint8_t, longestRun * sizeof(T)> together;
    for (std::int64_t y = 0; y < rows.rows; ++y) {
        const std::uint8_t* const row =
            rows.first + y * rows.stride + static_cast<std::int64_t>(place) * size;
        for (std::int64_t x = 0; x < pixels; x += longestRun) {
            const std::int64_t count = std::min(longestRun, pixels - x);
            gatherChannel<T>(row + x * period * size, period, count, together.data());
            tally.add(together.data(), count);
        }
    }
    tally.finish();
}

}  // namespace

template <class T>
void countRows(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes,
               TallyTables& tables) noexcept
{
    if constexpr (sizeof(T) <= 2) {
        const auto takes = [](int plane) { return plane >= 0; };
        const auto first = std::find_if(planes.begin(), planes.end(), takes);
        if (planes.size() > 1 && std::count_if(first, planes.end(), takes) == 1)
            return countOne<T>(rows, target, planes, static_cast<std::size_t>(first - planes.begin()),
                               tables);
    }
    countAll<T>(rows, target, planes, tables);
}

template <class T>
void countRowsInBands(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes)
{
    const std::int64_t samples = rows.samples * rows.rows;
    countInBands(
        rows.rows, samples, Tally<T>::tablesFor(planes.size(), samples), target,
        [&](std::int64_t begin, std::int64_t end, const TallyTarget& to, TallyTables& tables) noexcept {
            const SampleRows band{rows.first + begin * rows.stride, rows.stride, rows.samples, end - begin};
            countRows<T>(band, to, planes, tables);
        });
}

template void countRows<std::uint8_t>(const SampleRows&, const TallyTarget&, std::span<const int>,
                                      TallyTables&) noexcept;
template void countRows<std::uint16_t>(const SampleRows&, const TallyTarget&, std::span<const int>,
                                       TallyTables&) noexcept;
template void countRows<std::uint32_t>(const SampleRows&, const TallyTarget&, std::span<const int>,
                                       TallyTables&) noexcept;
template void countRows<std::uint64_t>(const SampleRows&, const TallyTarget&, std::span<const int>,
                                       TallyTables&) noexcept;

template void countRowsInBands<std::uint8_t>(const SampleRows&, const TallyTarget&, std::span<const int>);
template void countRowsInBands<std::uint16_t>(const SampleRows&, const TallyTarget&, std::span<const int>);

}  // namespace ko
