// Counting runs of samples into histogram planes.
#pragma once

#include <ko/histogram_containers.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ko {

/// Where samples are counted: a histogram, and the first value that it does not take.
struct TallyTarget {
    const CxImageHistogram& hist;
    std::uint64_t limit;

    explicit TallyTarget(const CxImageHistogram& histogram) noexcept
        : TallyTarget(histogram, ~std::uint64_t{0})
    {
    }
    /// Takes no value from `most` on, whatever the levels: how negative samples read without sign are left
    /// out.
    TallyTarget(const CxImageHistogram& histogram, std::uint64_t most) noexcept;

    /// The counters of a plane; null when the histogram has no such plane.
    std::uint32_t* counters(int plane) const noexcept
    {
        return hist.bins != nullptr && plane >= 0 && plane < hist.planes ? hist.bins[plane] : nullptr;
    }

    /// Adds the counts of another histogram, which has this one's planes and `limit` levels.
    void add(const CxImageHistogram& other) const noexcept;
};

/// Counts one sample.
template <class T>
void countSample(const TallyTarget& target, int plane, T value) noexcept
{
    std::uint32_t* const counters = target.counters(plane);
    if (counters != nullptr && value < target.limit)
        ++counters[value];
}

/// Working tables for one call, each with a counter per 16-bit value. Bytes are counted as pairs, which
/// halves the increments; no sample needs to be compared with the levels; and the channels of interleaved
/// images take turns. There are none for few samples, where filling and adding up the tables would cost more
/// than it saves.
class TallyTables {
public:
    static constexpr std::size_t size = 65536;
    /// Below this many samples there are no tables.
    static constexpr std::int64_t fewSamples = std::int64_t{1} << 17;

    TallyTables(std::int64_t samples, int tables);

    int count() const noexcept { return static_cast<int>(m_counters.size() / size); }
    /// The first so many tables, one behind the other, zeroed.
    std::uint32_t* begin(int tables) noexcept;
    /// Low bytes for the counters of a table, zeroed. There are some where there are tables.
    std::uint8_t* beginLowBytes() noexcept;

private:
    std::vector<std::uint32_t> m_counters;
    std::vector<std::uint8_t> m_lowBytes;
    int m_used = 0;  // tables that are no longer zero
};

/// Counts 16-bit units at any address into a table.
void countUnits(const std::uint8_t* units, std::int64_t count, std::uint32_t* table) noexcept;

/// How bytes are counted: as pairs, until a trial shows that hardly any pair occurs twice. The counters of such pairs
/// do not stay in the first-level cache. Those of one table are kept in low bytes then, which nearly do; with several
/// tables single bytes are counted. Without tables, long runs are counted as single bytes from the start.
struct ByteTally {
    static constexpr int tables = 8;  ///< byte i of a run goes to table i % 8, or i % 6 for three planes

    bool scattered = false;
    std::array<std::uint32_t, std::size_t{tables} * 256> counts{};
};

/// Counts runs of samples whose planes repeat along the run: sample i goes to plane `planes[i % period]`, or
/// nowhere where that is negative. Only one tally works with the same tables at a time; its counts have
/// arrived in the histogram after `finish`.
template <class T>
class Tally {
public:
    Tally(const TallyTarget& target, std::span<const int> planes, TallyTables& tables) noexcept;

    void add(const std::uint8_t* samples, std::int64_t count) noexcept;
    void finish() noexcept;

    /// How many tables serve a pattern of that length; 0 when none do.
    static int tablesFor(std::size_t period) noexcept;
    /// How many to obtain for so many samples. Three tables of pairs of bytes take long to fill and to add up: below
    /// `worthThree` samples, single bytes of three planes are counted sooner. One plane alone still has its table.
    static int tablesFor(std::size_t period, std::int64_t samples) noexcept;

    static constexpr std::int64_t worthThree = std::int64_t{1} << 21;

private:
    void addDirectly(const std::uint8_t* samples, std::int64_t count) noexcept;
    void addUnits(const std::uint8_t* samples, std::int64_t units) noexcept;
    void addPairs(const std::uint8_t* bytes, std::int64_t count) noexcept;
    void addBytes(const std::uint8_t* bytes, std::int64_t count) noexcept;
    void judge(std::int64_t units) noexcept;
    void addTo(int plane, const std::uint32_t* counts, std::uint64_t values) const noexcept;
    int planeAt(std::int64_t position) const noexcept
    {
        return m_planes[static_cast<std::size_t>(position) % m_planes.size()];
    }

    const TallyTarget m_target;
    std::span<const int> m_planes;
    TallyTables& m_memory;
    int m_tableCount;
    std::uint32_t* m_tables = nullptr;
    std::uint8_t* m_lowBytes = nullptr;  ///< of the only table's counters, where it is counted with them
    std::int64_t m_units = 0;            ///< counted into tables so far, until the trial ends
    bool m_judged = false;
    ByteTally m_bytes;
};

/// Longest run of samples that is brought together before it is counted, so that the buffer for it is small.
/// Even, which keeps pairs of samples together.
inline constexpr std::int64_t longestRun = 4096;

/// Rows of samples, `stride` bytes apart.
struct SampleRows {
    const std::uint8_t* first;
    std::int64_t stride;
    std::int64_t samples;  ///< of each row
    std::int64_t rows;
};

/// Counts rows of samples, whose planes repeat along each row as in a tally; rows hold whole patterns.
template <class T>
void countRows(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes,
               TallyTables& tables) noexcept;

/// The same in bands of rows, with tables of its own.
/// @throws std::bad_alloc, before anything is counted
template <class T>
void countRowsInBands(const SampleRows& rows, const TallyTarget& target, std::span<const int> planes);

extern template class Tally<std::uint8_t>;
extern template class Tally<std::uint16_t>;
extern template class Tally<std::uint32_t>;
extern template class Tally<std::uint64_t>;

}  // namespace ko
