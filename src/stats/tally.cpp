#include "stats/tally.h"

#include "base/image_view.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <functional>

namespace ko {

namespace {

static_assert(std::endian::native == std::endian::little, "units are cut from words, lowest first");

/// A group of bytes repeats one value of `Size` bytes. Where it does not, its first two words nearly always
/// show that, at almost no cost.
template <std::size_t Size>
bool repeats(const std::uint8_t* bytes, std::int64_t group) noexcept
{
    return loadSample<std::uint64_t>(bytes, 0) == loadSample<std::uint64_t>(bytes, 1) &&
           std::memcmp(bytes, bytes + Size, static_cast<std::size_t>(group) - Size) == 0;
}

/// Counts 16-bit units; unit i goes to table i % `Tables`. With one table alone, runs of equal units are counted
/// at once: increments of one counter wait for each other.
template <int Tables>
void countInTurns(const std::uint8_t* bytes, std::int64_t units, std::uint32_t* tables) noexcept
{
    constexpr std::int64_t words = Tables == 3 ? 3 : 4;
    constexpr std::int64_t group = 4 * words;
    std::int64_t i = 0;
    for (; i + group <= units; i += group) {
        const std::uint8_t* const at = bytes + 2 * i;
        if (Tables != 3 && repeats<2>(at, 2 * group)) {
            for (int table = 0; table < Tables; ++table)
                tables[table * TallyTables::size + loadSample<std::uint16_t>(at, 0)] += group / Tables;
            continue;
        }
        for (int k = 0; k < words; ++k) {
            const auto word = loadSample<std::uint64_t>(at, k);
            for (int j = 0; j < 4; ++j) {
                ++tables[static_cast<std::size_t>((4 * k + j) % Tables) * TallyTables::size +
                         (word >> (16 * j) & 0xFFFFU)];
            }
        }
    }
    for (; i < units; ++i)
        ++tables[static_cast<std::size_t>(i % Tables) * TallyTables::size +
                 loadSample<std::uint16_t>(bytes, i)];
}

/// Counts 16-bit units of many values. The low bytes of their counters nearly fit the first-level cache; what they
/// carry, once in 256 times, goes to the table.
void countInLowBytes(const std::uint8_t* bytes, std::int64_t units, std::uint8_t* lowBytes,
                     std::uint32_t* table) noexcept
{
    constexpr std::int64_t words = 4, group = 4 * words;
    const auto count = [=](std::uint64_t unit) {
        if (++lowBytes[unit] == 0)
            table[unit] += 256;
    };
    std::int64_t i = 0;
    for (; i + group <= units; i += group) {
        const std::uint8_t* const at = bytes + 2 * i;
        if (repeats<2>(at, 2 * group)) {
            table[loadSample<std::uint16_t>(at, 0)] += group;
            continue;
        }
        for (int k = 0; k < words; ++k) {
            const auto word = loadSample<std::uint64_t>(at, k);
            for (int j = 0; j < 4; ++j)
                count(word >> (16 * j) & 0xFFFFU);
        }
    }
    for (; i < units; ++i)
        count(loadSample<std::uint16_t>(bytes, i));
}

/// Counts bytes; byte i goes to table i % `Tables`: counters of equal neighbours would wait for each other. With
/// `AreAlike`, all tables are of one plane.
template <int Tables, bool AreAlike>
void countBytes(const std::uint8_t* bytes, std::int64_t count, std::uint32_t* tables) noexcept
{
    constexpr std::int64_t words = Tables == 6 ? 3 : 2, group = 8 * words;
    std::int64_t i = 0;
    for (; i + group <= count; i += group) {
        if (AreAlike && repeats<1>(bytes + i, group)) {
            tables[bytes[i]] += group;
            continue;
        }
        for (int k = 0; k < words; ++k) {
            const auto word = loadSample<std::uint64_t>(bytes + i, k);
            for (int j = 0; j < 8; ++j)
                ++tables[static_cast<std::size_t>((8 * k + j) % Tables) * 256 + (word >> (8 * j) & 0xFFU)];
        }
    }
    for (; i < count; ++i)
        ++tables[static_cast<std::size_t>(i % Tables) * 256 + bytes[i]];
}

/// Units of a table after which the trial ends.
constexpr std::int64_t trialUnits = 32768;

/// How many units a table has, judged by every eighth value of the second byte.
std::int64_t distinctUnits(const std::uint32_t* table) noexcept
{
    constexpr std::size_t row = 256, step = 8;
    std::ptrdiff_t distinct = 0;
    for (std::size_t first = 0; first < TallyTables::size; first += step * row)
        distinct +=
            std::count_if(table + first, table + first + row, [](std::uint32_t count) { return count != 0; });
    return static_cast<std::int64_t>(step) * distinct;
}

}  // namespace

TallyTarget::TallyTarget(const CxImageHistogram& histogram, std::uint64_t most) noexcept
    : hist(histogram), limit(std::min(most, static_cast<std::uint64_t>(std::max(histogram.levels, 0))))
{
}

void TallyTarget::add(const CxImageHistogram& other) const noexcept
{
    for (int plane = 0; plane < other.planes; ++plane) {
        std::uint32_t* const to = counters(plane);
        if (to != nullptr)
            std::transform(to, to + limit, other.bins[plane], to, std::plus<>());
    }
}

TallyTables::TallyTables(std::int64_t samples, int tables)
    : m_counters(samples < fewSamples ? 0 : static_cast<std::size_t>(tables) * size),
      m_lowBytes(m_counters.empty() ? 0 : size)
{
}

std::uint32_t* TallyTables::begin(int tables) noexcept
{
    std::fill_n(m_counters.begin(), static_cast<std::size_t>(std::min(tables, m_used)) * size, 0U);
    m_used = std::max(tables, m_used);
    return m_counters.data();
}

std::uint8_t* TallyTables::beginLowBytes() noexcept
{
    std::fill(m_lowBytes.begin(), m_lowBytes.end(), std::uint8_t{0});
    return m_lowBytes.data();
}

void countUnits(const std::uint8_t* units, std::int64_t count, std::uint32_t* table) noexcept
{
    countInTurns<1>(units, count, table);
}

template <class T>
int Tally<T>::tablesFor(std::size_t period) noexcept
{
    if (sizeof(T) > 2 || period > 4)
        return 0;
    // An even period is half as many pairs of bytes long.
    return static_cast<int>(sizeof(T) == 1 && period % 2 == 0 ? period / 2 : period);
}

template <class T>
int Tally<T>::tablesFor(std::size_t period, std::int64_t samples) noexcept
{
    const int tables = tablesFor(period);
    return sizeof(T) == 1 && tables == 3 && samples < worthThree ? 1 : tables;
}

template <class T>
Tally<T>::Tally(const TallyTarget& target, std::span<const int> planes, TallyTables& tables) noexcept
    : m_target(target), m_planes(planes), m_memory(tables), m_tableCount(tablesFor(planes.size()))
{
    if (m_tableCount > tables.count())
        m_tableCount = 0;
    if (m_tableCount != 0)
        m_tables = tables.begin(m_tableCount);
}

template <class T>
void Tally<T>::add(const std::uint8_t* samples, std::int64_t count) noexcept
{
    if constexpr (sizeof(T) == 1) {
        constexpr std::int64_t worthTurns = 64;
        if (m_tableCount == 0 && m_planes.size() <= 4 && count >= worthTurns)
            m_bytes.scattered = true;
        if (m_bytes.scattered)
            return addBytes(samples, count);
    }
    if (m_tableCount == 0)
        return addDirectly(samples, count);
    if constexpr (sizeof(T) == 1)
        return addPairs(samples, count);
    addUnits(samples, count);
    judge(count);
}

template <class T>
void Tally<T>::addDirectly(const std::uint8_t* samples, std::int64_t count) noexcept
{
    const auto period = static_cast<std::int64_t>(m_planes.size());
    const std::uint64_t limit = m_target.limit;
    for (std::int64_t position = 0; position < period; ++position) {
        std::uint32_t* const counters = m_target.counters(planeAt(position));
        if (counters == nullptr)
            continue;
        for (std::int64_t i = position; i < count; i += period) {
            const T value = loadSample<T>(samples, i);
            if (value < limit)
                ++counters[value];
        }
    }
}

template <class T>
void Tally<T>::addUnits(const std::uint8_t* samples, std::int64_t units) noexcept
{
    if (m_lowBytes != nullptr)
        return countInLowBytes(samples, units, m_lowBytes, m_tables);
    switch (m_tableCount) {
    case 1:
        return countInTurns<1>(samples, units, m_tables);
    case 2:
        return countInTurns<2>(samples, units, m_tables);
    case 3:
        return countInTurns<3>(samples, units, m_tables);
    default:
        return countInTurns<4>(samples, units, m_tables);
    }
}

template <class T>
void Tally<T>::addPairs(const std::uint8_t* bytes, std::int64_t count) noexcept
{
    addUnits(bytes, count / 2);
    if (count % 2 != 0)
        countSample(m_target, planeAt(count - 1), bytes[count - 1]);
    judge(count / 2);
}

/// Bytes are scattered where more than half of the pairs are the first of their kind, words where more than a quarter
/// are.
template <class T>
void Tally<T>::judge(std::int64_t units) noexcept
{
    if (m_judged)
        return;
    m_units += units;
    if (m_units < trialUnits * m_tableCount)
        return;
    m_judged = true;
    if (distinctUnits(m_tables) <= m_units / m_tableCount / (sizeof(T) == 1 ? 2 : 4))
        return;
    if (m_tableCount == 1)
        m_lowBytes = m_memory.beginLowBytes();
    else
        m_bytes.scattered = sizeof(T) == 1;
}

template <class T>
void Tally<T>::addBytes(const std::uint8_t* bytes, std::int64_t count) noexcept
{
    std::uint32_t* const tables = m_bytes.counts.data();
    if (m_planes.size() == 1)
        countBytes<8, true>(bytes, count, tables);
    else if (m_planes.size() == 3)
        countBytes<6, false>(bytes, count, tables);
    else
        countBytes<8, false>(bytes, count, tables);
}

template <class T>
void Tally<T>::addTo(int plane, const std::uint32_t* counts, std::uint64_t values) const noexcept
{
    std::uint32_t* const counters = m_target.counters(plane);
    if (counters == nullptr)
        return;
    const std::uint64_t end = std::min(values, m_target.limit);
    for (std::uint64_t value = 0; value < end; ++value)
        counters[value] += counts[value];
}

template <class T>
void Tally<T>::finish() noexcept
{
    if (m_lowBytes != nullptr)
        std::transform(m_tables, m_tables + TallyTables::size, m_lowBytes, m_tables, std::plus<>());
    for (int index = 0; index < m_tableCount; ++index) {
        const std::uint32_t* const table = m_tables + static_cast<std::size_t>(index) * TallyTables::size;
        if constexpr (sizeof(T) == 1) {
            std::array<std::uint32_t, 256> first{}, second{};
            for (std::size_t high = 0; high < 256; ++high) {
                for (std::size_t low = 0; low < 256; ++low) {
                    first[low] += table[high * 256 + low];
                    second[high] += table[high * 256 + low];
                }
            }
            addTo(planeAt(2 * index), first.data(), first.size());
            addTo(planeAt(2 * index + 1), second.data(), second.size());
        } else {
            addTo(planeAt(index), table, TallyTables::size);
        }
    }
    for (int k = 0; m_bytes.scattered && k < ByteTally::tables; ++k)
        addTo(planeAt(k), m_bytes.counts.data() + std::ptrdiff_t{256} * k, 256);
}

template class Tally<std::uint8_t>;
template class Tally<std::uint16_t>;
template class Tally<std::uint32_t>;
template class Tally<std::uint64_t>;

}  // namespace ko
