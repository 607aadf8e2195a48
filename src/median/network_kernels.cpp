#include "median/network_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/network_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "median/sorted_lists-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Calls body(x) for vectors that cover first ... end - 1, at least one vector. All but the first and the
/// last start at `aligned` plus whole vectors; these two overlap their neighbours where they have to.
template <class Body>
HWY_INLINE void ForEachVector(std::int64_t first, std::int64_t end, std::int64_t aligned, std::int64_t lanes,
                              const Body& body) noexcept
{
    body(first);
    for (std::int64_t x = first + lanes - ((first - aligned) & (lanes - 1)); x < end - lanes; x += lanes)
        body(x);
    body(end - lanes);
}

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
template <class T, int kRadius>
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
        const std::int64_t pieces = (samples + kPiece - 1) / kPiece;
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

    /// Few planes may be long without leaving the first-level cache.
    static constexpr std::int64_t kSamples = (kRadius == 1 ? 2048 : kRadius == 2 ? 1024 : 512) / sizeof(T);
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
        m_first = lineOffset(rows[0]);
        prefetch(rows, dst, samples);
        sortColumns(rows, samples + (kWindow - 1) * m_step, std::make_index_sequence<kWindow>());
        if constexpr (kRadius == 1) {
            selectOfThree(dst, samples);
        } else {
            merge<Merging<kWindow, kWindow>>(m_columns, m_columns, m_step, m_pairs,
                                             samples + (kWindow - 2) * m_step);
            using Fours = Merging<2 * kWindow, 2 * kWindow>;
            if constexpr (kRadius == 2) {
                select<Fours>(m_pairs, m_pairs, 2 * m_step, m_columns, 4 * m_step, dst, samples);
            } else {
                merge<Merging<2 * kWindow, kWindow>>(m_pairs, m_columns, 2 * m_step, m_threes,
                                                     samples + 4 * m_step);
                select<Fours>(m_pairs, m_pairs, 2 * m_step, m_threes, 4 * m_step, dst, samples);
            }
        }
    }

    /// Has the memory ready that the sorting network would wait for: where the medians go, and what the next
    /// row of windows adds, one stride below the last.
    static void prefetch(const std::uint8_t* const* rows, const std::uint8_t* dst,
                         std::int64_t samples) noexcept
    {
        const auto last = reinterpret_cast<std::uintptr_t>(rows[kWindow - 1]);
        const std::uintptr_t next = last + (last - reinterpret_cast<std::uintptr_t>(rows[kWindow - 2]));
        for (std::int64_t i = 0; i < samples * static_cast<std::int64_t>(sizeof(T)); i += 64) {
            fetchLines<false>(reinterpret_cast<std::uintptr_t>(dst + i), 64);
            fetchLines<false>(next + static_cast<std::uintptr_t>(i), 64);
        }
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
            Apply<Sorting<kWindow>>(v);
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
            Apply<Net>(v);
            StoreRanks<Net, 0, kSamples>(v, to.values + x, std::make_index_sequence<kA + kB>());
        });
    }

    /// The medians of the values in a at x, in b at x + shift and in c at x + rest.
    template <class Net, int kA, int kB, int kC>
    void select(Lists<kA>& a, Lists<kB>& b, std::int64_t shift, Lists<kC>& c, std::int64_t rest,
                std::uint8_t* dst, std::int64_t samples) noexcept
    {
        const V most = hn::Set(D(), m_most);
        const std::int64_t first = m_first;
        ForEachVector(first, first + samples, first - lineOffset(dst), lanes, [&](std::int64_t x) {
            V v[kA + kB];
            LoadRanks(a.at(x), v, std::make_index_sequence<kA>());
            LoadRanks(b.at(x + shift), v + kA, std::make_index_sequence<kB>());
            Apply<Net>(v);
            const V median = SelectRank<Net, kMiddle>(v, c.at(x + rest), std::make_index_sequence<kC>());
            storeRow(hn::Min(median, most), dst, x - first);
        });
    }

    /// The middle of nine: of the largest low, the middle middle and the smallest high of three columns.
    void selectOfThree(std::uint8_t* dst, std::int64_t samples) noexcept
    {
        const V most = hn::Set(D(), m_most);
        const std::int64_t first = m_first;
        ForEachVector(first, first + samples, first - lineOffset(dst), lanes, [&](std::int64_t x) {
            V a[3], b[3], c[3];
            LoadRanks(m_columns.at(x), a, std::make_index_sequence<3>());
            LoadRanks(m_columns.at(x + m_step), b, std::make_index_sequence<3>());
            LoadRanks(m_columns.at(x + 2 * m_step), c, std::make_index_sequence<3>());
            const V low = hn::Max(hn::Max(a[0], b[0]), c[0]);
            const V high = hn::Min(hn::Min(a[2], b[2]), c[2]);
            storeRow(hn::Min(middle(low, middle(a[1], b[1], c[1]), high), most), dst, x - first);
        });
    }

    static HWY_INLINE V middle(V a, V b, V c) noexcept
    {
        return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
    }

    std::int64_t m_step;
    T m_most;
    /// Place in the planes of a piece's first sample: they lie to their cache lines as the rows do to theirs.
    std::int64_t m_first = 0;
    Lists<kWindow> m_columns;
    Lists<kRadius >= 2 ? 2 * kWindow : 1> m_pairs;
    Lists<kRadius >= 3 ? 3 * kWindow : 1> m_threes;
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

template <class T>
constexpr std::array<MedianRow, 4> rowsOf{&CopyRow<T>, &Row<T, 1>::run, &Row<T, 2>::run, &Row<T, 3>::run};

const MedianRowKernels& Kernels()
{
    static constexpr MedianRowKernels kernels{rowsOf<std::uint8_t>, rowsOf<std::uint16_t>};
    return kernels;
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
