// Counting the pairs of a joint histogram: the one body behind all of them.
#pragma once

#include "stats/joint_pairs.h"
#include "stats/tally_bands.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace ko {

/// Counts the pairs of one call, with working memory that is obtained before anything is counted.
///
/// Few pairs are counted one by one. Many pairs of bytes go through a counter for each possible pair. The
/// counters of wider pairs would not fit the caches: their columns are sorted by row first, so that one row
/// is counted at a time. Bands of rows of the images are counted or sorted at once, with counters of their own,
/// and so are bands of rows of the histogram.
template <class T>
class PairCounter {
public:
    explicit PairCounter(const Selection& selection)
    {
        const std::int64_t pairs = selection.pixels();
        if (pairs < fewPairs || pairs > mostPairs)
            return;
        m_bands = worthwhileBands(selection.height, pairs, values);
        m_counters.resize(static_cast<std::size_t>(m_bands) * values);
        if constexpr (sizeof(T) == 2) {
            m_ends.resize(m_counters.size());
            m_columns = std::make_unique_for_overwrite<std::uint16_t[]>(static_cast<std::size_t>(pairs));
        }
    }

    template <class Plane>
    void count(const ChannelPair& pair, const Plane& plane)
    {
        if (m_counters.empty())
            countOneByOne(pair, plane);
        else if constexpr (sizeof(T) == 1)
            countByTable(pair, plane);
        else
            countByRow(pair, plane);
    }

private:
    template <class Body>
    void forEachBand(const Body& body) const
    {
        inBands(m_bands, m_bands, [&](int, std::int64_t band, std::int64_t) noexcept { body(band); });
    }

    static constexpr std::int64_t fewPairs = std::int64_t{1} << 15;
    static constexpr std::int64_t mostPairs = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t values = 65536;

    template <class Plane>
    static void countOneByOne(const ChannelPair& pair, const Plane& plane)
    {
        forEachPairRun<T>(pair,
                          [&](const std::uint8_t* firsts, const std::uint8_t* seconds, std::int64_t count) {
                              for (std::int64_t i = 0; i < count; ++i)
                                  plane.add(loadSample<T>(seconds, i), loadSample<T>(firsts, i), 1);
                          });
    }

    template <class Plane>
    void countByTable(const ChannelPair& pair, const Plane& plane)
    {
        forEachBand([&](std::int64_t band) noexcept {
            std::uint32_t* const counters = ofBand(m_counters, band);
            std::array<std::uint8_t, 2 * longestRun> units;
            forEachPairRun<T>(partOf(pair, band), [&](const std::uint8_t* firsts, const std::uint8_t* seconds,
                                                      std::int64_t count) {
                joinBytes(firsts, seconds, count, units.data());
                countUnits(units.data(), count, counters);
            });
        });
        for (std::uint32_t pairOfBytes = 0; pairOfBytes < values; ++pairOfBytes) {
            std::uint32_t count = 0;
            for (int band = 0; band < m_bands; ++band)
                count += std::exchange(ofBand(m_counters, band)[pairOfBytes], 0U);
            if (count != 0)
                plane.add(pairOfBytes >> 8, pairOfBytes & 0xFFU, count);
        }
    }

    template <class Plane>
    void countByRow(const ChannelPair& pair, const Plane& plane)
    {
        sortByRow(pair);
        // Those of the last band end where the row does.
        const std::span<const std::uint32_t> ends(ofBand(m_ends, m_bands - 1),
                                                  std::min(plane.rowCount(), values));
        // Bands of rows with about as many columns each.
        const auto firstRow = [&](std::int64_t band) {
            const std::int64_t place = pair.selection.pixels() * band / m_bands;
            return band == m_bands ? std::ssize(ends) : std::ranges::lower_bound(ends, place) - ends.begin();
        };
        std::atomic<bool> isOutOfMemory{false};
        forEachBand([&](std::int64_t band) noexcept {
            try {
                for (std::int64_t row = firstRow(band); row < firstRow(band + 1); ++row)
                    addRow(plane, static_cast<std::uint32_t>(row), columnsOf(row, ends),
                           ofBand(m_counters, band));
            } catch (const std::bad_alloc&) {
                isOutOfMemory = true;
            }
        });
        if (isOutOfMemory)
            throw std::bad_alloc();
    }

    /// A counting sort. Afterwards the ends tell where the columns of a row end that came from a band.
    void sortByRow(const ChannelPair& pair) noexcept
    {
        forEachBand([&](std::int64_t band) noexcept { countRows(pair, band); });
        std::uint32_t begin = 0;
        for (std::uint32_t row = 0; row < values; ++row) {
            for (int band = 0; band < m_bands; ++band)
                begin += std::exchange(ofBand(m_ends, band)[row], begin);
        }
        forEachBand([&](std::int64_t band) noexcept { placeColumns(pair, band); });
    }

    /// Equal rows follow each other often. Two counters for each take turns, as one would wait for itself.
    void countRows(const ChannelPair& pair, std::int64_t band) noexcept
    {
        std::uint32_t* const evens = ofBand(m_ends, band);
        std::uint32_t* const odds = ofBand(m_counters, band);
        std::fill_n(evens, values, 0U);
        const auto countRun = [=](const std::uint8_t*, const std::uint8_t* seconds, std::int64_t count) {
            for (std::int64_t i = 0; i + 1 < count; i += 2) {
                ++evens[loadSample<T>(seconds, i)];
                ++odds[loadSample<T>(seconds, i + 1)];
            }
            if (count % 2 != 0)
                ++evens[loadSample<T>(seconds, count - 1)];
        };
        forEachPairRun<T, false>(partOf(pair, band), countRun);
        for (std::uint32_t row = 0; row < values; ++row)
            evens[row] += std::exchange(odds[row], 0U);
    }

    /// Each row's place moves through memory of its own: too many for the processor to fetch the next line of
    /// each by itself.
    void placeColumns(const ChannelPair& pair, std::int64_t band) noexcept
    {
        constexpr std::uintptr_t ahead = 64;
        std::uint32_t* const places = ofBand(m_ends, band);
        std::uint16_t* const columns = m_columns.get();
        forEachPairRun<T>(partOf(pair, band),
                          [=](const std::uint8_t* firsts, const std::uint8_t* seconds, std::int64_t count) {
                              for (std::int64_t i = 0; i < count; ++i) {
                                  std::uint16_t* const place = columns + places[loadSample<T>(seconds, i)]++;
                                  fetchLines<true>(reinterpret_cast<std::uintptr_t>(place) + ahead, 1);
                                  *place = loadSample<T>(firsts, i);
                              }
                          });
    }

    std::span<std::uint16_t> columnsOf(std::int64_t row, std::span<const std::uint32_t> ends) const noexcept
    {
        const std::uint32_t begin = row == 0 ? 0 : ends[static_cast<std::size_t>(row - 1)];
        return {m_columns.get() + begin, m_columns.get() + ends[static_cast<std::size_t>(row)]};
    }

    static void addRow(const DensePlane& plane, std::uint32_t row, std::span<const std::uint16_t> columns,
                       std::uint32_t*) noexcept
    {
        plane.addOnes(row, columns);
    }

    /// Looks each distinct column up once, in the order of their first places.
    static void addRow(const SparsePlane& plane, std::uint32_t row, std::span<std::uint16_t> columns,
                       std::uint32_t* counters)
    {
        std::size_t distinct = 0;
        for (const std::uint16_t column : columns) {
            columns[distinct] = column;
            distinct += counters[column]++ == 0 ? 1 : 0;
        }
        plane.reserve(row, distinct);
        for (const std::uint16_t column : columns.first(distinct))
            plane.add(row, column, std::exchange(counters[column], 0U));
    }

    /// The rows of the images that make a band.
    ChannelPair partOf(const ChannelPair& pair, std::int64_t band) const noexcept
    {
        ChannelPair part = pair;
        const std::int64_t rows = pair.selection.height;
        part.selection = pair.selection.band(rows * band / m_bands, rows * (band + 1) / m_bands);
        return part;
    }

    template <class Counter>
    static Counter* ofBand(std::vector<Counter>& counters, std::int64_t band) noexcept
    {
        return counters.data() + static_cast<std::size_t>(band) * values;
    }

    int m_bands = 1;
    std::vector<std::uint32_t>
        m_counters;                     ///< of pairs of bytes, or of the columns of one row; 0 between uses
    std::vector<std::uint32_t> m_ends;  ///< where the columns of each row end
    std::unique_ptr<std::uint16_t[]> m_columns;  ///< row by row
};

}  // namespace ko
