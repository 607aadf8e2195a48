// Medians of rows of tiles. Include after <hwy/highway.h>; compiled once per processor target.
#if defined(KO_MEDIAN_TILE_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_MEDIAN_TILE_ROW_INL_H
#undef KO_MEDIAN_TILE_ROW_INL_H
#else
#define KO_MEDIAN_TILE_ROW_INL_H
#endif

#include "median/sorted_lists-inl.h"
#include "median/tile_kernels.h"

#include <algorithm>
#include <new>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// A row of tiles side by side. The windows of a tile share their middle, the core, which is sorted once.
/// Then the tile is halved, across and down by turns, until single windows are left: each half adds to the
/// core the columns or rows that its windows share beyond it, and drops what can be the median of none of
/// them. What is still to be added, lines at the sides of the core, is kept sorted as far as the core goes.
template <class T, int kRadius>
class TileRow {
public:
    static void run(const T* const* rows, std::int64_t tiles, T* medians, T most, std::byte* scratch) noexcept
    {
        TileRow row(rows, most, *new (scratch) Memory);
        const std::int64_t wholeVectors = (tiles + lanes - 1) / lanes * lanes;
        for (std::int64_t at = 0; at < wholeVectors + kReach; at += lanes)
            row.sortColumns(at);
        for (std::int64_t at = 0; at < tiles; at += lanes) {
            row.m_at = at;
            row.wholeTile();
            row.store(medians + medianTileSide * at);
        }
    }

private:
    using D = hn::ScalableTag<T>;
    using V = hn::Vec<D>;
    static constexpr std::int64_t lanes = lanesOf<T>;
    static constexpr std::int64_t pitch = medianPhaseSamples<T>;

    static constexpr int kSide = medianTileSide;
    static constexpr int kWindow = 2 * kRadius + 1;
    static constexpr int kMiddle = kWindow * kWindow / 2;  ///< rank of the median, from 0
    static constexpr int kShort = kWindow - kSide + 1;  ///< rows and columns that the windows of a tile share
    static constexpr int kReach =
        (2 * kRadius + kSide) / kSide;  ///< tiles that columns are read of behind the last

    /// What the windows of a tile share, sorted: the ranks that may still be a median.
    template <int kAlong, int kAcross>
    struct Core {
        static constexpr int size = (kWindow - kAlong + 1) * (kWindow - kAcross + 1);
        static constexpr int others = kWindow * kWindow - size;
        static constexpr int first = std::max(0, kMiddle - others);
        static constexpr int count = std::min(size - 1, kMiddle) - first + 1;
    };

    using TileCore = Core<kSide, kSide>;

    /// The first columns of the tile's core, sorted: the ranks that the core may need.
    template <int kColumns>
    struct Gathered {
        static constexpr int size = kColumns * kShort;
        static constexpr int first = std::max(0, TileCore::first - (kShort * kShort - size));
        static constexpr int count = std::min(size, TileCore::first + TileCore::count) - first;
    };
    static_assert(Gathered<4>::count == 4 * kShort);

    /// What halving a part makes; both halves use it.
    template <bool kDown, int kAlong, int kAcross>
    struct Halves {
        static constexpr int half = kAlong / 2;
        static constexpr int lines = 2 * (kAcross - 1);
        Sorted<T, Core<half, kAcross>::count> core;
        Sorted<T, half*(kWindow - kAcross + 1)> added;
        std::array<Sorted<T, kWindow - kAlong + 1 + half>, lines> crossing;
        Halves<!kDown, kAcross, half> next;
    };
    /// Pairs of windows are left.
    template <bool kDown>
    struct Halves<kDown, 2, 2> {
    };

    struct Memory {
        alignas(64) T columns[kSide][kShort * pitch];
        alignas(64) T pairs[2][kShort * pitch * 2];
        alignas(64) T fours[kShort * pitch * 4];
        alignas(64) T medians[kSide * kSide][lanes];
        alignas(64) T gathered[2][(TileCore::first + TileCore::count) * lanes];
        Sorted<T, TileCore::count> core;
        std::array<Sorted<T, kShort>, std::size_t{2} * (kSide - 1)> rows;
        Halves<false, kSide, kSide> halves;
    };

    TileRow(const T* const* rows, T most, Memory& memory) noexcept
        : m_rows(rows), m_most(most), m_memory(memory)
    {
    }

    // Places of samples and columns count from the corner of the first window of the tile.
    const T* sample(int x, int y) const noexcept
    {
        return m_rows[y] + (x + 1) % kSide * pitch + m_at + (x + 1) / kSide;
    }
    List<T, kShort, pitch> column(int x) const noexcept
    {
        return {m_memory.columns[(x + 1) % kSide] + m_at + (x + 1) / kSide};
    }
    List<T, 2 * kShort, pitch> columnPair(int x) const noexcept
    {
        return {m_memory.pairs[(x + 1) % kSide / 2] + m_at + (x + 1) / kSide};
    }
    List<T, 4 * kShort, pitch> fourColumns(int x) const noexcept
    {
        return {m_memory.fours + m_at + (x + 1) / kSide};
    }

    /// Sorts columns for all tiles that they serve, each by itself and then two and four of them together.
    void sortColumns(std::int64_t at) noexcept
    {
        for (int phase = 0; phase < kSide; ++phase)
            sortColumn(phase * pitch + at, m_memory.columns[phase] + at, std::make_index_sequence<kShort>());
        for (int i = 0; i < 2; ++i)
            Merge<0, 2 * kShort, pitch>(List<T, kShort, pitch>{m_memory.columns[2 * i] + at},
                                        List<T, kShort, pitch>{m_memory.columns[2 * i + 1] + at},
                                        m_memory.pairs[i] + at);
        Merge<0, 4 * kShort, pitch>(List<T, 2 * kShort, pitch>{m_memory.pairs[0] + at},
                                    List<T, 2 * kShort, pitch>{m_memory.pairs[1] + at}, m_memory.fours + at);
    }

    template <std::size_t... kI>
    void sortColumn(std::int64_t at, T* to, std::index_sequence<kI...> ranks) noexcept
    {
        using Net = Sorting<kShort>;
        V v[kShort];
        ((v[kI] = hn::LoadU(D(), m_rows[kSide - 1 + kI] + at)), ...);
        Apply<Net>(v);
        StoreRanks<Net, 0, pitch>(v, to, ranks);
    }

    template <std::size_t... kI>
    HWY_NOINLINE void sortRow(int y, T* to, std::index_sequence<kI...> ranks) const noexcept
    {
        using Net = Sorting<kShort>;
        V v[kShort];
        ((v[kI] = hn::LoadU(D(), sample(kSide - 1 + static_cast<int>(kI), y))), ...);
        Apply<Net>(v);
        StoreRanks<Net, 0, lanes>(v, to, ranks);
    }

    /// A tile or a part of it, about to be halved along one direction.
    template <int kAlong, int kAcross, std::int64_t kLinePitch, std::int64_t kCrossingPitch>
    struct Part {
        static constexpr int lineLength = kWindow - kAcross + 1;
        static constexpr int crossingLength = kWindow - kAlong + 1;

        int along;  ///< place in the tile
        int across;
        List<T, Core<kAlong, kAcross>::count> core;
        /// What the windows have beside the core: lines before and behind it, to be added in halves, ...
        std::array<List<T, lineLength, kLinePitch>, std::size_t{2} * (kAlong - 1)> lines;
        /// ... and those in the other direction.
        std::array<List<T, crossingLength, kCrossingPitch>, std::size_t{2} * (kAcross - 1)> crossing;
    };

    /// Merges the columns of the core, four or two at a time, beginning with a list of the first `kColumns`.
    template <int kColumns, std::int64_t kPitch>
    void gather(List<T, Gathered<kColumns>::count, kPitch> list) noexcept
    {
        constexpr int added = kShort - kColumns >= 4 ? 4 : 2, columns = kColumns + added;
        using Next = Gathered<columns>;
        constexpr int dropped = Next::first - Gathered<kColumns>::first, place = kSide - 1 + kColumns;
        T* const to = columns == kShort ? m_memory.core.samples : m_memory.gathered[columns / 4 % 2];
        if constexpr (added == 4)
            Merge<dropped, Next::count>(list, fourColumns(place), to);
        else
            Merge<dropped, Next::count>(list, columnPair(place), to);
        if constexpr (columns < kShort)
            gather<columns, lanes>({to});
    }

    template <int kCount>
    static void copy(List<T, kCount, pitch> list, T* to) noexcept
    {
        for (int i = 0; i < kCount; ++i)
            hn::Store(hn::LoadU(D(), list.first + i * pitch), D(), to + i * lanes);
    }

    /// Sorts the core of the tiles and the rows beside it.
    void wholeTile() noexcept
    {
        Memory& m = m_memory;
        if constexpr (kShort == kSide)
            copy(fourColumns(kSide - 1), m.core.samples);
        else
            gather<4, pitch>(fourColumns(kSide - 1));
        Part<kSide, kSide, pitch, lanes> part{0, 0, m.core, {}, {}};
        for (int i = 0; i < kSide - 1; ++i) {
            sortRow(i, m.rows[i].samples, std::make_index_sequence<kShort>());
            sortRow(kWindow + i, m.rows[kSide - 1 + i].samples, std::make_index_sequence<kShort>());
        }
        for (int i = 0; i < kSide - 1; ++i) {
            part.lines[i] = column(i);
            part.lines[kSide - 1 + i] = column(kWindow + i);
        }
        for (int i = 0; i < 2 * (kSide - 1); ++i)
            part.crossing[i] = m.rows[i];
        halve<false>(part, m.halves);
    }

    /// Place in the tile of line i of `count` before and as many behind the core that begins at `first`.
    static constexpr int placeOf(int i, int count, int first) noexcept
    {
        return first + (i < count ? i : kWindow + i - count);
    }

    /// Finds the medians of both halves of a part, one below the other if `kDown`.
    template <bool kDown, int kAlong, int kAcross, std::int64_t kLinePitch, std::int64_t kCrossingPitch>
    void halve(const Part<kAlong, kAcross, kLinePitch, kCrossingPitch>& part,
               Halves<kDown, kAlong, kAcross>& halves) noexcept
    {
        using Whole = Part<kAlong, kAcross, kLinePitch, kCrossingPitch>;
        constexpr int half = kAlong / 2;
        using Smaller = Core<half, kAcross>;
        constexpr int dropped = Smaller::first - Core<kAlong, kAcross>::first;
        for (int behind = 0; behind < 2; ++behind) {
            const int firstAdded = behind ? kAlong - 1 : half - 1;
            const int place = placeOf(firstAdded, kAlong - 1, part.along);
            const auto crossingSample = [&](int i, int k) {
                const int across = placeOf(i, kAcross - 1, part.across);
                return kDown ? sample(across, place + k) : sample(place + k, across);
            };
            if constexpr (kAlong == 2 && kAcross == 2) {
                const auto median = [&](int i) {
                    const int along = part.along + behind, across = part.across + i;
                    return m_memory.medians[kDown ? kSide * along + across : kSide * across + along];
                };
                SelectTwo<dropped>(part.core, part.lines[firstAdded], part.crossing,
                                   {crossingSample(0, 0), crossingSample(1, 0)}, {median(0), median(1)});
            } else {
                if constexpr (!kDown) {
                    Merge<dropped, Smaller::count>(part.core, columnPair(place), halves.core.samples);
                } else {
                    Merge<0, half * Whole::lineLength>(part.lines[firstAdded], part.lines[firstAdded + 1],
                                                       halves.added.samples);
                    Merge<dropped, Smaller::count>(part.core, List<T, half * Whole::lineLength>(halves.added),
                                                   halves.core.samples);
                }

                Part<kAcross, half, lanes, kLinePitch> next{
                    part.across, part.along + behind * half, halves.core, {}, {}};
                for (int i = 0; i < 2 * (kAcross - 1); ++i) {
                    Extend(part.crossing[i], {crossingSample(i, 0), crossingSample(i, 1)},
                           halves.crossing[i].samples);
                    next.lines[i] = halves.crossing[i];
                }
                for (int i = 0; i < half - 1; ++i) {
                    next.crossing[i] = part.lines[behind * half + i];
                    next.crossing[half - 1 + i] = part.lines[kAlong - 1 + behind * half + i];
                }
                halve<!kDown>(next, halves.next);
            }
        }
    }

    void store(T* medians) const noexcept
    {
        const V most = hn::Set(D(), m_most);
        const auto median = [&](int x, int y) {
            return hn::Min(hn::Load(D(), m_memory.medians[kSide * y + x]), most);
        };
        for (int y = 0; y < kSide; ++y)
            hn::StoreInterleaved4(median(0, y), median(1, y), median(2, y), median(3, y), D(),
                                  medians + y * medianRowSamples<T>);
    }

    const T* const* m_rows;
    T m_most;
    std::int64_t m_at = 0;  ///< first tile of the vector
    Memory& m_memory;

public:
    static constexpr typename MedianTileKernels<T>::Row kernel{&run, sizeof(Memory)};
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
