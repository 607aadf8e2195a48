#include "median/network_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "base/processor.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

// Newer processors move bytes from vector to vector.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/network_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "median/row_vectors-inl.h"
#include "median/sorted_lists-inl.h"
#include "simd/two_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Sorted values of one piece of a row: for every sample the values of each rank, rank by rank.
template <class T, int kRanks, std::int64_t kSamples>
struct Planes {
    alignas(64) T values[kRanks * kSamples];

    List<T, kRanks, kSamples> at(std::int64_t sample) const noexcept { return {values + sample}; }
};

/// Value of rank `kRank` (from 1) of a merged sequence and the list `b` together: the smallest of
/// max(merged[i], b[kRank - i]).
template <class Net, int kRank, class V, class T, int kCount, std::int64_t kPitch, std::size_t... kI>
HWY_INLINE V SelectRank(const V* merged, List<T, kCount, kPitch> b, std::index_sequence<kI...>) noexcept
{
    constexpr auto& places = Net::network.order.places;
    V result = merged[places[kRank - 1]];
    ((result =
          hn::Min(result, hn::Max(merged[places[kRank - 2 - kI]], LoadRank<kPitch>(b.first + kI * kPitch)))),
     ...);
    return result;
}

/// A row of medians, piece by piece. The columns of all windows are sorted once, then neighbours are merged,
/// which serves all windows that they are in; the rank in the middle is picked from the last two parts.
template <class T, int kRadius, bool kShares>
class Row {
public:
    static void run(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples,
                    std::int64_t step, std::uint32_t most, std::byte* scratch) noexcept
    {
        static_assert(sizeof(Row) <= medianRowScratch);
        Row& row = *new (scratch) Row(step, static_cast<T>(most));
        if (samples < lanes) {
            row.padded(rows, dst, samples);
            return;
        }
        const std::int64_t pieces = kRadius == 1 ? 1 : (samples + kPiece - 1) / kPiece;
        for (std::int64_t i = 0; i < pieces; ++i) {
            const std::int64_t first = samples * i / pieces, end = samples * (i + 1) / pieces;
            const std::int64_t offset = first * static_cast<std::int64_t>(sizeof(T));
            const std::uint8_t* from[kWindow];
            for (int k = 0; k < kWindow; ++k)
                from[k] = rows[k] + offset;
            row.piece(from, dst + offset, end - first);
        }
    }

private:
    static constexpr int kWindow = 2 * kRadius + 1;
    static constexpr int kMiddle = (kWindow * kWindow + 1) / 2;
    using D = hn::ScalableTag<T>;
    using V = hn::Vec<D>;
    static constexpr std::int64_t lanes = hn::MaxLanes(D());

    /// Planes stay in the first-level cache. Windows of three columns need none.
    static constexpr std::int64_t kSamples = 1024 / sizeof(T);
    static constexpr std::int64_t kLine = 64 / sizeof(T);
    static constexpr std::int64_t kPiece = kSamples - (kWindow - 1) * medianRowChannels - kLine;
    template <int kRanks>
    using Lists = Planes<T, kRanks, kSamples>;

    Row(std::int64_t step, T most) noexcept : m_step(step), m_most(most) {}

    /// Works on copies, for rows of less than a vector.
    void padded(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples) noexcept
    {
        constexpr std::size_t room = (lanes + (kWindow - 1) * medianRowChannels) * sizeof(T);
        std::uint8_t copies[kWindow][room];
        std::uint8_t medians[room];
        const std::uint8_t* from[kWindow];
        const auto bytes = static_cast<std::size_t>(samples + (kWindow - 1) * m_step) * sizeof(T);
        for (int i = 0; i < kWindow; ++i) {
            std::memcpy(copies[i], rows[i], bytes);
            std::memset(copies[i] + bytes, 0, room - bytes);
            from[i] = copies[i];
        }
        piece(from, medians, lanes);
        std::memcpy(dst, medians, static_cast<std::size_t>(samples) * sizeof(T));
    }

    /// One vector of samples or more.
    void piece(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples) noexcept
    {
        if constexpr (kRadius == 1) {
            selectOfThree(rows, dst, samples);
        } else {
            m_first = lineOffset(rows[0]);
            sortColumns(rows, samples + (kWindow - 1) * m_step, std::make_index_sequence<kWindow>());
            merge<Merging<kWindow, kWindow>>(m_columns, m_columns, m_step, m_pairs,
                                             samples + (kWindow - 2) * m_step);
            using Fours = Merging<2 * kWindow, 2 * kWindow>;
            select<Fours>(m_pairs, m_pairs, 2 * m_step, m_columns, 4 * m_step, rows, dst, samples);
        }
    }

    /// What the next row of windows adds, one stride below the last.
    static std::uintptr_t nextRow(const std::uint8_t* const* rows) noexcept
    {
        const auto last = reinterpret_cast<std::uintptr_t>(rows[kWindow - 1]);
        return last + (last - reinterpret_cast<std::uintptr_t>(rows[kWindow - 2]));
    }

    /// Asks for memory that the network would wait for: the next row at this sample, and where medians go a little
    /// later. A line at a time comes while vectors are sorted; many at once wait for each other.
    static HWY_INLINE void fetch(std::uintptr_t next, const std::uint8_t* dst, std::int64_t sample) noexcept
    {
        const std::uintptr_t offset = static_cast<std::uintptr_t>(sample) * sizeof(T);
        fetchLines<false>(next + offset, 1);
        fetchLines<false>(reinterpret_cast<std::uintptr_t>(dst) + offset + 2048, 1);
    }

    /// Samples from the start of a cache line to `row`.
    static std::int64_t lineOffset(const std::uint8_t* row) noexcept
    {
        return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(row) % 64 / sizeof(T));
    }

    static HWY_INLINE V loadRow(const std::uint8_t* row, std::int64_t sample) noexcept
    {
#if HWY_TARGET == HWY_SCALAR
        return hn::Set(D(), loadSample<T>(row, sample));
#else
        return hn::LoadU(D(), reinterpret_cast<const T*>(row) + sample);
#endif
    }

    static HWY_INLINE void storeRow(V v, std::uint8_t* row, std::int64_t sample) noexcept
    {
#if HWY_TARGET == HWY_SCALAR
        storeSample(row, sample, hn::GetLane(v));
#else
        hn::StoreU(v, D(), reinterpret_cast<T*>(row) + sample);
#endif
    }

    template <std::size_t... kI>
    void sortColumns(const std::uint8_t* const* rows, std::int64_t samples,
                     std::index_sequence<kI...>) noexcept
    {
        const std::int64_t first = m_first;
        ForEachVector(first, first + samples, 0, lanes, [&](std::int64_t x) {
            V v[kWindow];
            ((v[kI] = loadRow(rows[kI], x - first)), ...);
            Apply<Sorting<kWindow>, kShares>(v);
            StoreRanks<Sorting<kWindow>, 0, kSamples>(v, m_columns.values + x,
                                                      std::make_index_sequence<kWindow>());
        });
    }

    /// Merges the values at x with those at x + shift, for every x.
    template <class Net, int kA, int kB>
    void merge(Lists<kA>& a, Lists<kB>& b, std::int64_t shift, Lists<kA + kB>& to,
               std::int64_t samples) noexcept
    {
        ForEachVector(m_first, m_first + samples, 0, lanes, [&](std::int64_t x) {
            V v[kA + kB];
            LoadRanks(a.at(x), v, std::make_index_sequence<kA>());
            LoadRanks(b.at(x + shift), v + kA, std::make_index_sequence<kB>());
            Apply<Net, kShares>(v);
            StoreRanks<Net, 0, kSamples>(v, to.values + x, std::make_index_sequence<kA + kB>());
        });
    }

    /// The medians of the values in a at x, in b at x + shift and in c at x + rest.
    template <class Net, int kA, int kB, int kC>
    void select(Lists<kA>& a, Lists<kB>& b, std::int64_t shift, Lists<kC>& c, std::int64_t rest,
                const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples) noexcept
    {
        const V most = hn::Set(D(), m_most);
        const std::int64_t first = m_first;
        const std::uintptr_t next = nextRow(rows);
        ForEachVector(first, first + samples, first - lineOffset(dst), lanes, [&](std::int64_t x) {
            fetch(next, dst, x - first);
            V v[kA + kB];
            LoadRanks(a.at(x), v, std::make_index_sequence<kA>());
            LoadRanks(b.at(x + shift), v + kA, std::make_index_sequence<kB>());
            Apply<Net, kShares>(v);
            const V median = SelectRank<Net, kMiddle>(v, c.at(x + rest), std::make_index_sequence<kC>());
            storeRow(hn::Min(median, most), dst, x - first);
        });
    }

    /// The middle of nine: of the largest low, the middle middle and the smallest high of three columns.
    static HWY_INLINE V middleOfNine(const V* a, const V* b, const V* c) noexcept
    {
        const V low = hn::Max(hn::Max(a[0], b[0]), c[0]);
        const V high = hn::Min(hn::Min(a[2], b[2]), c[2]);
        return middleOf(low, middleOf(a[1], b[1], c[1]), high);
    }

    /// Sorting a column for each of its windows takes less time than to store it once and load it again.
    void selectOfThree(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples) noexcept
    {
        std::int64_t done = 0;
        if constexpr (takesFromTwo<T>)
            done = selectByMoving(rows, dst, samples);
        if (done == samples)
            return;
        const V most = hn::Set(D(), m_most);
        const std::int64_t step = m_step;
        const std::uintptr_t next = nextRow(rows);
        const std::uint8_t *const top = rows[0], *const middle = rows[1], *const bottom = rows[2];
        ForEachVector(std::min(done, samples - lanes), samples, -lineOffset(dst), lanes, [&](std::int64_t x) {
            fetch(next, dst, x);
            V a[3], b[3], c[3];
            loadColumn(top, middle, bottom, x, a);
            loadColumn(top, middle, bottom, x + step, b);
            loadColumn(top, middle, bottom, x + 2 * step, c);
            storeRow(hn::Min(middleOfNine(a, b, c), most), dst, x);
        });
    }

    /// Sorts each column once and moves it to its other windows, for vectors behind which there is another one. Returns
    /// the end of the samples done.
    std::int64_t selectByMoving(const std::uint8_t* const* rows, std::uint8_t* dst,
                                std::int64_t samples) noexcept
    {
        const std::int64_t columns = samples + 2 * m_step;
        if (columns < 2 * lanes)
            return 0;
        const V most = hn::Set(D(), m_most);
        const V one = hn::Iota(D(), static_cast<T>(m_step)), two = hn::Iota(D(), static_cast<T>(2 * m_step));
        const std::uintptr_t next = nextRow(rows);
        const std::uint8_t *const top = rows[0], *const middle = rows[1], *const bottom = rows[2];
        V a[3], b[3], c[3], ahead[3];
        loadColumn(top, middle, bottom, 0, a);
        std::int64_t x = 0;
        for (; x + 2 * lanes <= columns; x += lanes) {
            fetch(next, dst, x);
            loadColumn(top, middle, bottom, x + lanes, ahead);
            for (int i = 0; i < 3; ++i) {
                b[i] = FromTwo<T>(a[i], ahead[i], one);
                c[i] = FromTwo<T>(a[i], ahead[i], two);
            }
            storeRow(hn::Min(middleOfNine(a, b, c), most), dst, x);
            std::copy(ahead, ahead + 3, a);
        }
        return x;
    }

    static HWY_INLINE void loadColumn(const std::uint8_t* top, const std::uint8_t* middle,
                                      const std::uint8_t* bottom, std::int64_t x, V* v) noexcept
    {
        const V first = loadRow(top, x), second = loadRow(middle, x), third = loadRow(bottom, x);
        const V low = hn::Min(first, second), high = hn::Max(first, second), rest = hn::Min(high, third);
        v[0] = hn::Min(low, rest);
        v[1] = hn::Max(low, rest);
        v[2] = hn::Max(high, third);
    }

    static HWY_INLINE V middleOf(V a, V b, V c) noexcept
    {
        return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
    }

    std::int64_t m_step;
    T m_most;
    /// Place in the planes of a piece's first sample: they lie to their cache lines as the rows do to theirs.
    std::int64_t m_first = 0;
    Lists<kRadius >= 2 ? kWindow : 1> m_columns;
    Lists<kRadius >= 2 ? 2 * kWindow : 1> m_pairs;
};

/// A window of one sample.
template <class T>
void CopyRow(const std::uint8_t* const* rows, std::uint8_t* dst, std::int64_t samples, std::int64_t,
             std::uint32_t most, std::byte*) noexcept
{
    const std::uint8_t* const src = rows[0];
    const auto limit = static_cast<T>(most);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample(dst, i, std::min(loadSample<T>(src, i), limit));
}

template <class T, bool kShares>
constexpr std::array<MedianRow, 3> rowsOf{&CopyRow<T>, &Row<T, 1, kShares>::run, &Row<T, 2, kShares>::run};

template <bool kShares>
constexpr MedianRowKernels kernels{rowsOf<std::uint8_t, kShares>, rowsOf<std::uint16_t, kShares>};

const MedianRowKernels& Kernels()
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL
    static const bool shares = hasHalfPrecision();
    return shares ? kernels<true> : kernels<false>;
#else
    return kernels<false>;
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const MedianRowKernels& medianRowKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
