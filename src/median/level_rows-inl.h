// Sums of the rows of windows for the median by levels. Include after <hwy/highway.h>; compiled once per processor
// target.
#if defined(KO_MEDIAN_LEVEL_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_LEVEL_ROWS_INL_H
#undef KO_MEDIAN_LEVEL_ROWS_INL_H
#else
#define KO_MEDIAN_LEVEL_ROWS_INL_H
#endif

#include "median/level_kernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<std::uint8_t, medianLevelColumns>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using V = hn::Vec<Bytes>;

inline constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(Bytes()));

/// Rows that are treated without looking whether that is needed any longer.
inline constexpr std::int64_t groupRows = 8;

/// Rows of the block, first ... end - 1.
struct Rows {
    std::int64_t first;
    std::int64_t end;

    bool isEmpty() const noexcept { return first >= end; }
    /// Grows to hold the rows, which are below those at hand.
    void add(std::int64_t begin, std::int64_t behind) noexcept
    {
        first = isEmpty() ? begin : first;
        end = behind;
    }
};

/// Looks for the sample nearest to a threshold on one side of it. Differences to the threshold wrap around, so
/// that those of the other side are on the far end.
template <bool kUp>
class Nearest {
public:
    explicit Nearest(int threshold) noexcept
        : m_threshold(hn::Set(Bytes(), static_cast<std::uint8_t>(threshold))),
          m_nearest(hn::Set(Bytes(), kUp ? 0xFF : 0))
    {
    }
    void look(V samples) noexcept
    {
        const V d = hn::Sub(samples, m_threshold);
        m_nearest = kUp ? hn::Min(m_nearest, d) : hn::Max(m_nearest, d);
    }
    int found() const noexcept
    {
        HWY_ALIGN std::uint8_t each[lanes];
        hn::Store(m_nearest, Bytes(), each);
        std::uint8_t nearest = each[0];
        for (const std::uint8_t d : each)
            nearest = kUp ? std::min(nearest, d) : std::max(nearest, d);
        return static_cast<std::uint8_t>(nearest + hn::GetLane(m_threshold));
    }

private:
    V m_threshold;
    V m_nearest;
};

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

struct ByteIndices {
    alignas(64) std::array<std::uint8_t, 64> byteOfColumn, bitsBelow;
    alignas(16) std::array<std::uint8_t, 16> lastOfLong;

    constexpr ByteIndices() : byteOfColumn{}, bitsBelow{}, lastOfLong{}
    {
        for (std::size_t i = 0; i < 64; ++i) {
            byteOfColumn[i] = static_cast<std::uint8_t>(i / 8);
            bitsBelow[i] = static_cast<std::uint8_t>((1U << i % 8) - 1);
        }
        for (std::size_t i = 0; i < 16; ++i)
            lastOfLong[i] = static_cast<std::uint8_t>(i | 7);
    }
};
inline constexpr ByteIndices byteIndices;

/// Which of a row's samples count are bits. Their sum from the row's beginning up to each column is that up to
/// the column's byte and that of the bits below it. The difference of two such is the sum between.
class RowSums {
public:
    static constexpr std::int64_t most = 32;

    /// `steps` has room for all chunks of `most` rows.
    RowSums(std::int64_t window, std::uint8_t* steps) noexcept
        : m_window(window), m_chunks(window / medianLevelColumns + 2), m_steps(steps)
    {
    }

    /// Looks at the samples of up to `most` rows, a multiple of 8.
    template <bool kUp>
    void compare(const std::uint8_t* samples, std::int64_t pitch, std::int64_t rows, V limit,
                 Nearest<kUp>& nearest) noexcept
    {
        for (std::int64_t row = 0; row < rows; ++row, samples += pitch)
            for (std::int64_t chunk = 0; chunk < m_chunks; ++chunk) {
                const V each = hn::LoadU(Bytes(), samples + chunk * medianLevelColumns);
                nearest.look(each);
                hn::StoreMaskBits(Bytes(), kUp ? hn::Gt(each, limit) : hn::Lt(each, limit),
                                  reinterpret_cast<std::uint8_t*>(&m_bits[chunk * most + row]));
            }
        for (std::int64_t row = 0; row < rows; row += 8) {
            V carry = hn::Zero(Bytes());
            for (std::int64_t i = row; i < m_chunks * most; i += most)
                hn::Store(hn::BitCast(Longs(), bitsBefore(&m_bits[i], carry)), Longs(), &m_before[i]);
        }
    }

    /// The sums of these rows in the windows of each column.
    void add(std::int64_t rows, std::uint8_t* sums) const noexcept
    {
        const V byteOfColumn = hn::Load(Bytes(), byteIndices.byteOfColumn.data());
        const V bitsBelow = hn::Load(Bytes(), byteIndices.bitsBelow.data());
        const std::int64_t pitch = m_chunks * medianLevelColumns;
        for (std::int64_t row = 0; row < rows; ++row)
            for (std::int64_t chunk = 0; chunk < m_chunks; ++chunk) {
                const auto spread = [&](const Chunks& each) {
                    const auto bytes = hn::Set(Longs(), each[chunk * most + row]);
                    return hn::TableLookupBytes(hn::BitCast(Bytes(), bytes), byteOfColumn);
                };
                const V below = hn::PopulationCount(hn::And(spread(m_bits), bitsBelow));
                hn::Store(hn::Add(below, spread(m_before)), Bytes(),
                          m_steps + row * pitch + chunk * medianLevelColumns);
            }
        const std::uint8_t* upTo = m_steps;
        for (std::int64_t row = 0; row < rows; ++row, upTo += pitch, sums += medianLevelColumns)
            hn::Store(hn::Sub(hn::LoadU(Bytes(), upTo + m_window), hn::Load(Bytes(), upTo)), Bytes(), sums);
    }

private:
    using Longs = hn::Repartition<std::uint64_t, Bytes>;
    using Chunks = std::array<std::uint64_t, medianLevelSourceColumns / medianLevelColumns * most>;

    /// Sums of the bits in the bytes before each one, for 8 rows; `carry` has those of the chunks before.
    static V bitsBefore(const std::uint64_t* bits, V& carry) noexcept
    {
        const auto plus = [](V a, hn::Vec<Longs> b) { return hn::Add(a, hn::BitCast(Bytes(), b)); };
        const auto longs = [](V a) { return hn::BitCast(Longs(), a); };
        V sums = hn::PopulationCount(hn::BitCast(Bytes(), hn::Load(Longs(), bits)));
        sums = plus(sums, hn::ShiftLeft<8>(longs(sums)));
        sums = plus(sums, hn::ShiftLeft<16>(longs(sums)));
        sums = plus(sums, hn::ShiftLeft<32>(longs(sums)));
        const V before = plus(carry, hn::ShiftLeft<8>(longs(sums)));
        const V last = hn::LoadDup128(Bytes(), byteIndices.lastOfLong.data());
        carry = hn::Add(carry, hn::TableLookupBytes(sums, last));
        return before;
    }

    std::int64_t m_window;
    std::int64_t m_chunks;
    std::uint8_t* m_steps;
    alignas(64) Chunks m_bits;
    alignas(64) Chunks m_before;
};

#else

/// Neighbours are added up four by four: sums of 4, 16 and 64 of them make up that of any number.
class RowSums {
public:
    static constexpr std::int64_t most = groupRows;

    RowSums(std::int64_t window, std::uint8_t* steps) noexcept
        : m_pitch((window + medianLevelColumns + lanes - 2) / lanes * lanes), m_steps(steps)
    {
        std::int64_t at = 0;
        for (int depth = 3; depth >= 0; --depth)
            for (const std::int64_t side = sideOf(depth); window - at >= side; at += side) {
                m_terms[m_termCount++] = step(depth) + at;
                m_depth = std::max(m_depth, depth);
            }
        for (int depth = 0; depth <= m_depth; ++depth)
            std::fill_n(step(depth) + size(), slack, std::uint8_t{0});
    }

    /// Looks at the samples of `most` rows.
    template <bool kUp>
    void compare(const std::uint8_t* samples, std::int64_t pitch, std::int64_t rows, V limit,
                 Nearest<kUp>& nearest) noexcept
    {
        for (std::int64_t row = 0; row < rows; ++row, samples += pitch)
            for (std::int64_t x = 0; x < m_pitch; x += lanes) {
                const V each = hn::LoadU(Bytes(), samples + x);
                nearest.look(each);
                const V beyond = kUp ? hn::SaturatedSub(each, limit) : hn::SaturatedSub(limit, each);
                hn::Store(hn::Min(beyond, hn::Set(Bytes(), 1)), Bytes(), m_steps + row * m_pitch + x);
            }
        for (int depth = 0; depth < m_depth; ++depth)
            for (std::int64_t i = 0; i < size(); i += lanes) {
                const std::uint8_t* const from = step(depth) + i;
                const auto next = [&](std::int64_t k) {
                    return hn::LoadU(Bytes(), from + k * sideOf(depth));
                };
                hn::Store(hn::Add(hn::Add(next(0), next(1)), hn::Add(next(2), next(3))), Bytes(),
                          step(depth + 1) + i);
            }
    }

    /// The sums of these rows in the windows of each column.
    void add(std::int64_t rows, std::uint8_t* sums) const noexcept
    {
        for (std::int64_t at = 0; at < rows * m_pitch; at += m_pitch, sums += medianLevelColumns)
            for (std::int64_t x = 0; x < medianLevelColumns; x += lanes) {
                V sum = hn::LoadU(Bytes(), m_terms[0] + at + x);
                for (std::size_t i = 1; i < m_termCount; ++i)
                    sum = hn::Add(sum, hn::LoadU(Bytes(), m_terms[i] + at + x));
                hn::Store(sum, Bytes(), sums + x);
            }
    }

private:
    /// What is read behind the last row.
    static constexpr std::int64_t slack = 64 + lanes;

    static std::int64_t sideOf(int depth) noexcept { return std::int64_t{1} << 2 * depth; }
    std::int64_t size() const noexcept { return most * m_pitch; }
    std::uint8_t* step(int depth) const noexcept { return m_steps + depth * (size() + slack); }

    std::int64_t m_pitch;
    std::uint8_t* m_steps;
    int m_depth = 0;
    std::array<const std::uint8_t*, 12> m_terms;
    std::size_t m_termCount = 0;
};

#endif

/// Counts the samples of the rows of the windows of some pixels: with `kUp` those from `threshold` on, otherwise
/// those below it. Returns the value of these that is nearest to the threshold, or anything if there is none.
template <bool kUp>
int sumRows(const MedianLevelBlock& block, int threshold, Rows pixels) noexcept
{
    const V limit = hn::Set(Bytes(), static_cast<std::uint8_t>(kUp ? threshold - 1 : threshold));
    Nearest<kUp> nearest(threshold);
    RowSums rows(block.window, block.scratch->steps.data());
    const std::int64_t end = pixels.end + block.window - 1;
    for (std::int64_t y = pixels.first; y < end; y += RowSums::most) {
        const std::int64_t count = std::min(RowSums::most, (end - y + 7) / 8 * 8);
        rows.compare(block.samples + y * block.pitch, block.pitch, count, limit, nearest);
        rows.add(count, block.scratch->sums.data() + y * medianLevelColumns);
    }
    return nearest.found();
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
