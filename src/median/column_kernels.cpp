#include "median/column_kernels.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/column_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Row i is what one sample adds to running sums that count it from bin i on.
template <class Count, std::int64_t kBins>
struct Steps {
    alignas(64) Count counts[kBins + 1][kBins] = {};

    constexpr Steps()
    {
        for (std::int64_t bin = 0; bin < kBins; ++bin)
            for (std::int64_t i = bin; i < kBins; ++i)
                counts[bin][i] = 1;
    }
};
template <class Count, std::int64_t kBins>
constexpr Steps<Count, kBins> steps;

enum class Change { Add, Remove, Replace };

/// One sample enters, another one leaves, or both.
template <Change kChange, std::int64_t kBins, class Count>
HWY_INLINE void ChangeCounts(Count* counts, std::int64_t enteringBin, std::int64_t leavingBin) noexcept
{
    const hn::CappedTag<Count, kBins> d;
    for (std::size_t i = 0; i < kBins; i += hn::MaxLanes(d)) {
        auto v = hn::Load(d, counts + i);
        if constexpr (kChange != Change::Remove)
            v = hn::Add(v, hn::Load(d, steps<Count, kBins>.counts[enteringBin] + i));
        if constexpr (kChange != Change::Add)
            v = hn::Sub(v, hn::Load(d, steps<Count, kBins>.counts[leavingBin] + i));
        hn::Store(v, d, counts + i);
    }
}

template <class Code, class Count, Change kChange>
void ChangeRow(const Code* entering, const Code* leaving, std::int64_t step, std::int64_t samples,
               std::int64_t slot, const MedianHistograms<Code, Count>& histograms) noexcept
{
    constexpr std::int64_t bins = medianBins<Code>;
    const std::int64_t pitch = histograms.slots * bins;
    Count* high = histograms.high + slot * bins;
    Count* low = histograms.low + slot * bins;
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::int64_t in = kChange != Change::Remove ? entering[i * step] : 0;
        const std::int64_t out = kChange != Change::Add ? leaving[i * step] : 0;
        ChangeCounts<kChange, bins>(high + i * bins, in / bins + 1, out / bins + 1);
        if constexpr (kChange != Change::Remove)
            ChangeCounts<Change::Add, bins>(low + in / bins * pitch + i * bins, in % bins, 0);
    }
    // Often both change the same counts. In one loop, the processor would wait for those just written.
    if constexpr (kChange != Change::Add)
        for (std::int64_t i = 0; i < samples; ++i) {
            const std::int64_t out = leaving[i * step];
            ChangeCounts<Change::Remove, bins>(low + out / bins * pitch + i * bins, 0, out % bins);
        }
}

/// The counts of one digit, summed up over the columns of a window.
template <class Count, std::int64_t kBins>
class Digit {
public:
    using Sum = MedianSumOf<Count>;

    // GCC compiles a constructor that nobody wrote for no target in particular, and then refuses to inline.
    Digit() noexcept { clear(); }

    void clear() noexcept
    {
        for (V& part : m_parts)
            part = hn::Zero(D());
    }
    void load(const Sum* sums) noexcept
    {
        for (std::size_t i = 0; i < parts; ++i)
            m_parts[i] = hn::Load(D(), sums + i * lanes);
    }
    void store(Sum* sums) const noexcept
    {
        for (std::size_t i = 0; i < parts; ++i)
            hn::Store(m_parts[i], D(), sums + i * lanes);
    }
    /// Moves the window on by a column.
    void slide(const Count* entering, const Count* leaving) noexcept
    {
        for (std::size_t i = 0; i < parts; ++i) {
            if constexpr (sizeof(Count) == 1) {
                const hn::Rebind<std::int8_t, D> d;
                const auto change =
                    hn::Sub(hn::Load(d, reinterpret_cast<const std::int8_t*>(entering) + i * lanes),
                            hn::Load(d, reinterpret_cast<const std::int8_t*>(leaving) + i * lanes));
                m_parts[i] = hn::Add(m_parts[i], hn::PromoteTo(D(), change));
            } else {
                m_parts[i] =
                    hn::Sub(hn::Add(m_parts[i], widened(entering + i * lanes)), widened(leaving + i * lanes));
            }
        }
    }
    /// From the window of pixel `from` to that of pixel `to`, where `columns` has the counts of all slots.
    void move(const Count* columns, std::int64_t window, std::int64_t from, std::int64_t to) noexcept
    {
        if (to - from < window / 2) {
            for (std::int64_t x = from + 1; x <= to; ++x)
                slide(columns + (x + window) * kBins, columns + x * kBins);
        } else {
            clear();
            addColumns(columns + (to + 1) * kBins, window);
        }
    }
    /// Bins with a smaller sum.
    std::int64_t below(std::int64_t sum) const noexcept
    {
        const auto wanted = hn::Set(D(), static_cast<Sum>(sum));
        std::size_t below = 0;
        for (const V& part : m_parts)
            below += hn::CountTrue(D(), hn::Lt(part, wanted));
        return static_cast<std::int64_t>(below);
    }

private:
    using D = hn::CappedTag<Sum, kBins>;
    using V = hn::Vec<D>;
    static constexpr std::size_t lanes = hn::MaxLanes(D());
    static constexpr std::size_t parts = kBins / lanes;

    using Narrow = hn::Rebind<Count, D>;
    static V widened(const Count* counts) noexcept { return hn::PromoteTo(D(), hn::Load(Narrow(), counts)); }

    /// Counts of as many columns as never exceed a byte together are added up before they are widened. A
    /// column has at most as many samples as the window has rows, which are at most 127 then.
    void addColumns(const Count* columns, std::int64_t window) noexcept
    {
        const std::int64_t most = sizeof(Count) == 1 ? 255 / window : 1;
        for (std::int64_t x = 0; x < window;) {
            hn::Vec<Narrow> sums[parts];
            for (auto& sum : sums)
                sum = hn::Zero(Narrow());
            for (const std::int64_t end = std::min(x + most, window); x < end; ++x)
                for (std::size_t i = 0; i < parts; ++i)
                    sums[i] = hn::Add(sums[i], hn::Load(Narrow(), columns + x * kBins + i * lanes));
            for (std::size_t i = 0; i < parts; ++i)
                m_parts[i] = hn::Add(m_parts[i], hn::PromoteTo(D(), sums[i]));
        }
    }

    V m_parts[parts];
};

template <class Code, class Count, bool kRanks>
void FindWith(MedianWindowRow<Code, Count> row) noexcept
{
    constexpr std::int64_t bins = medianBins<Code>, never = std::numeric_limits<std::int64_t>::min() / 2;
    using Sum = MedianSumOf<Count>;
    constexpr std::int64_t whole = 64 / sizeof(Sum);  // sums begin at a whole vector, and 0 is before them
    alignas(64) Sum sums[whole + bins] = {};
    MedianLowSums<Code, Count>& known = *row.known;
    known.pixels.fill(never);
    Digit<Count, bins> high, low;
    std::int64_t highPixel = never;
    std::int64_t digit = bins;                           // whose low digits are at hand: none yet
    std::int64_t smaller = row.window * row.window * 2;  // samples of smaller digits: no rank is above this
    const Count* smallers = row.histograms.high;
    const Count* lows = row.histograms.low;
    for (std::int64_t x = 0; x < row.pixels; ++x) {
        const std::int64_t entering = (x + row.window) * bins, leaving = x * bins;
        low.slide(lows + entering, lows + leaving);
        smaller += smallers[entering];
        smaller -= smallers[leaving];
        const std::int64_t wanted = row.wanted[x];
        std::int64_t rank = wanted - smaller, bin = low.below(rank);
        if (rank <= 0 || bin == bins) {
            // The median has another high digit. Neighbours often take turns between two of them, so each
            // catches up with what it missed.
            low.store(known.sums[static_cast<std::size_t>(digit)].data());
            known.pixels[static_cast<std::size_t>(digit)] = x;
            high.move(row.histograms.high, row.window, highPixel, x);
            highPixel = x;
            high.store(sums + whole);
            digit = high.below(wanted) - 1;
            smaller = sums[whole + digit];
            smallers = row.histograms.high + digit;
            lows = row.histograms.low + digit * row.histograms.slots * bins;
            low.load(known.sums[static_cast<std::size_t>(digit)].data());
            low.move(lows, row.window, known.pixels[static_cast<std::size_t>(digit)], x);
            rank = wanted - smaller;
            bin = low.below(rank);
        }
        row.medians[x] = static_cast<Code>(digit * bins + bin);
        if constexpr (kRanks) {
            low.store(sums + whole);
            row.ranks[x] = static_cast<Sum>(rank - sums[whole - 1 + bin]);
        }
    }
}

template <class Code, class Count>
void Find(const MedianWindowRow<Code, Count>& row) noexcept
{
    if constexpr (medianIsCoded<Code>)
        if (row.ranks != nullptr)
            return FindWith<Code, Count, true>(row);
    FindWith<Code, Count, false>(row);
}

template <class Code, class Count>
const MedianColumnKernels<Code, Count>& Kernels()
{
    static constexpr MedianColumnKernels<Code, Count> kernels{
        &ChangeRow<Code, Count, Change::Add>, &ChangeRow<Code, Count, Change::Remove>,
        &ChangeRow<Code, Count, Change::Replace>, &Find<Code, Count>};
    return kernels;
}

const MedianColumnKernels<std::uint8_t, std::uint8_t>& Bytes()
{
    return Kernels<std::uint8_t, std::uint8_t>();
}
const MedianColumnKernels<std::uint8_t, std::uint16_t>& BytesOfLargeWindows()
{
    return Kernels<std::uint8_t, std::uint16_t>();
}
const MedianColumnKernels<std::uint16_t, std::uint8_t>& Words()
{
    return Kernels<std::uint16_t, std::uint8_t>();
}
const MedianColumnKernels<std::uint16_t, std::uint16_t>& WordsOfLargeWindows()
{
    return Kernels<std::uint16_t, std::uint16_t>();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Bytes);
HWY_EXPORT(BytesOfLargeWindows);
HWY_EXPORT(Words);
HWY_EXPORT(WordsOfLargeWindows);
}  // namespace

template <>
const MedianColumnKernels<std::uint8_t, std::uint8_t>& medianColumnKernels()
{
    return HWY_DYNAMIC_DISPATCH(Bytes)();
}
template <>
const MedianColumnKernels<std::uint8_t, std::uint16_t>& medianColumnKernels()
{
    return HWY_DYNAMIC_DISPATCH(BytesOfLargeWindows)();
}
template <>
const MedianColumnKernels<std::uint16_t, std::uint8_t>& medianColumnKernels()
{
    return HWY_DYNAMIC_DISPATCH(Words)();
}
template <>
const MedianColumnKernels<std::uint16_t, std::uint16_t>& medianColumnKernels()
{
    return HWY_DYNAMIC_DISPATCH(WordsOfLargeWindows)();
}
}  // namespace ko
#endif
