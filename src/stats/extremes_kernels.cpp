#include "stats/extremes_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/extremes_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void TakeSample(T sample, const ExtremeLanes<T>& lanes, std::int64_t lane) noexcept
{
    lanes.low[lane] = sample < lanes.low[lane] ? sample : lanes.low[lane];
    lanes.high[lane] = sample > lanes.high[lane] ? sample : lanes.high[lane];
}

/// Samples `from` and up one by one; `selection` is null where all samples count.
template <class T>
void TakeRest(const std::uint8_t* row, const std::uint8_t* selection, std::int64_t from, std::int64_t samples,
              const ExtremeLanes<T>& lanes) noexcept
{
    std::int64_t lane = from % lanes.count;
    for (std::int64_t i = from; i < samples; ++i) {
        if (selection == nullptr || selection[i] != 0)
            TakeSample(loadSample<T>(row, i), lanes, lane);
        lane = lane + 1 == lanes.count ? 0 : lane + 1;
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
std::int64_t LaneCount(std::int64_t period) noexcept
{
    return period;
}

template <class T>
void Rows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
          const ExtremeLanes<T>& lanes) noexcept
{
    for (std::int64_t y = 0; y < count; ++y)
        TakeRest(first + y * pitch, nullptr, 0, samples, lanes);
}

template <class T>
void SelectedRow(const std::uint8_t* row, const std::uint8_t* selection, std::int64_t samples,
                 const ExtremeLanes<T>& lanes) noexcept
{
    TakeRest(row, selection, 0, samples, lanes);
}

#else

template <class T>
using Tag = hn::ScalableTag<T>;
template <class T>
using Vector = hn::Vec<Tag<T>>;

template <class T>
constexpr std::int64_t laneStep = static_cast<std::int64_t>(hn::MaxLanes(Tag<T>{}));

/// Four vectors hold the periods 1, 2 and 4 any number of times, three of them period 3.
template <class T>
std::int64_t LaneCount(std::int64_t period) noexcept
{
    if (4 * laneStep<T> % period == 0)
        return 4 * laneStep<T>;
    if (3 * laneStep<T> % period == 0)
        return 3 * laneStep<T>;
    return period;
}

/// Every sample of the row.
template <class T>
struct AllSamples {
    const T* row;

    void fetch(std::int64_t at, std::int64_t count) const noexcept
    {
        fetchAhead<T, false>(reinterpret_cast<const std::uint8_t*>(row + at), count);
    }
    void take(std::int64_t at, Vector<T>& low, Vector<T>& high) const noexcept
    {
        const Vector<T> sample = hn::LoadU(Tag<T>{}, row + at);
        if constexpr (std::is_floating_point_v<T>) {
            // The processors' own minimum and maximum differ on NaN and on zeros of both signs.
            low = hn::IfThenElse(hn::Lt(sample, low), sample, low);
            high = hn::IfThenElse(hn::Gt(sample, high), sample, high);
        } else {
            low = hn::Min(sample, low);
            high = hn::Max(sample, high);
        }
    }
};

/// The samples whose selection byte is not zero.
template <class T>
struct SelectedSamples {
    const T* row;
    const std::uint8_t* selection;

    void fetch(std::int64_t at, std::int64_t count) const noexcept
    {
        fetchAhead<T, false>(reinterpret_cast<const std::uint8_t*>(row + at), count);
        fetchAhead<std::uint8_t, false>(selection + at, count);
    }
    auto selected(std::int64_t at) const noexcept
    {
        const hn::Rebind<std::uint8_t, Tag<T>> bytes;
        const auto chosen = hn::LoadU(bytes, selection + at);
        if constexpr (sizeof(T) == 1) {
            return hn::RebindMask(Tag<T>{}, hn::Ne(chosen, hn::Zero(bytes)));
        } else {
            const hn::RebindToUnsigned<Tag<T>> wide;
            return hn::RebindMask(Tag<T>{}, hn::Ne(widened(wide, chosen), hn::Zero(wide)));
        }
    }

    template <class D, class V>
    static auto widened(D wide, V bytes) noexcept
    {
        if constexpr (sizeof(T) == 8)
            return hn::PromoteTo(wide, hn::PromoteTo(hn::Rebind<std::uint32_t, D>{}, bytes));
        else
            return hn::PromoteTo(wide, bytes);
    }

    void take(std::int64_t at, Vector<T>& low, Vector<T>& high) const noexcept
    {
        const Vector<T> sample = hn::LoadU(Tag<T>{}, row + at);
        const auto chosen = selected(at);
        if constexpr (std::is_floating_point_v<T>) {
            low = hn::IfThenElse(hn::And(chosen, hn::Lt(sample, low)), sample, low);
            high = hn::IfThenElse(hn::And(chosen, hn::Gt(sample, high)), sample, high);
        } else {
            low = hn::IfThenElse(chosen, hn::Min(sample, low), low);
            high = hn::IfThenElse(chosen, hn::Max(sample, high), high);
        }
    }
};

/// One vector at sample `at` into the lanes from `lane` on.
template <class T, class Samples>
void TakeVector(const Samples& samples, std::int64_t at, const ExtremeLanes<T>& lanes,
                std::int64_t lane) noexcept
{
    const Tag<T> d;
    Vector<T> low = hn::LoadU(d, lanes.low + lane), high = hn::LoadU(d, lanes.high + lane);
    samples.take(at, low, high);
    hn::StoreU(low, d, lanes.low + lane);
    hn::StoreU(high, d, lanes.high + lane);
}

constexpr std::int64_t blocksPerFetch = 8;

template <class T, int vectors>
HWY_INLINE void LoadLanes(const ExtremeLanes<T>& lanes, Vector<T>* low, Vector<T>* high) noexcept
{
    for (int v = 0; v < vectors; ++v) {
        low[v] = hn::LoadU(Tag<T>{}, lanes.low + v * laneStep<T>);
        high[v] = hn::LoadU(Tag<T>{}, lanes.high + v * laneStep<T>);
    }
}

template <class T, int vectors>
HWY_INLINE void StoreLanes(const Vector<T>* low, const Vector<T>* high, const ExtremeLanes<T>& lanes) noexcept
{
    for (int v = 0; v < vectors; ++v) {
        hn::StoreU(low[v], Tag<T>{}, lanes.low + v * laneStep<T>);
        hn::StoreU(high[v], Tag<T>{}, lanes.high + v * laneStep<T>);
    }
}

/// As many whole blocks of vectors as there are; returns the number of samples taken.
template <class T, int vectors, class Samples>
HWY_INLINE std::int64_t TakeWhole(const Samples& samples, std::int64_t count, Vector<T>* low,
                                  Vector<T>* high) noexcept
{
    constexpr std::int64_t block = vectors * laneStep<T>;
    std::int64_t at = 0;
    while (at + block <= count) {
        // The compiler keeps the values in registers only where the loop that changes them has no branch.
        const std::int64_t end = at + std::min(blocksPerFetch, (count - at) / block) * block;
        samples.fetch(at, end - at);
        for (; at < end; at += block) {
            for (int v = 0; v < vectors; ++v)
                samples.take(at + v * laneStep<T>, low[v], high[v]);
        }
    }
    return at;
}

/// As many whole blocks of `lanes.count` samples as there are, the running values in registers.
template <class T, int vectors, class Samples>
std::int64_t TakeBlocks(const Samples& samples, std::int64_t count, const ExtremeLanes<T>& lanes) noexcept
{
    Vector<T> low[vectors], high[vectors];
    LoadLanes<T, vectors>(lanes, low, high);
    const std::int64_t taken = TakeWhole<T, vectors>(samples, count, low, high);
    StoreLanes<T, vectors>(low, high, lanes);
    return taken;
}

/// What it can of the row by vectors; returns the number of samples taken.
template <class T, class Samples>
std::int64_t TakeVectors(const Samples& samples, std::int64_t count, const ExtremeLanes<T>& lanes) noexcept
{
    if (lanes.count != 4 * laneStep<T> && lanes.count != 3 * laneStep<T>)
        return 0;
    std::int64_t at = 0;
    if (count >= lanes.count)
        at = lanes.count == 4 * laneStep<T> ? TakeBlocks<T, 4>(samples, count, lanes)
                                            : TakeBlocks<T, 3>(samples, count, lanes);
    for (std::int64_t lane = 0; at + laneStep<T> <= count; at += laneStep<T>, lane += laneStep<T>)
        TakeVector(samples, at, lanes, lane);
    // A sample may be taken twice, so the rest goes with the samples before it as the row's last vector.
    const std::int64_t last = count - laneStep<T>;
    const std::int64_t lane = last % lanes.period;
    if (at < count && last >= 0 && lane + laneStep<T> <= lanes.count) {
        TakeVector(samples, last, lanes, lane);
        at = count;
    }
    return at;
}

/// The running values stay in registers from row to row: short rows would wait for what the row before has stored.
/// The last vector of a row may hold samples of the one before, and must begin a period then.
template <class T, int vectors>
void TakeRows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
              const ExtremeLanes<T>& lanes) noexcept
{
    Vector<T> low[vectors], high[vectors];
    LoadLanes<T, vectors>(lanes, low, high);
    for (std::int64_t y = 0; y < count; ++y) {
        const AllSamples<T> row{reinterpret_cast<const T*>(first + y * pitch)};
        std::int64_t at = TakeWhole<T, vectors>(row, samples, low, high);
        for (int v = 0; v < vectors; ++v) {
            if (samples - at < laneStep<T>)
                break;
            row.take(at, low[v], high[v]);
            at += laneStep<T>;
        }
        if (at < samples)
            row.take(samples - laneStep<T>, low[0], high[0]);
    }
    StoreLanes<T, vectors>(low, high, lanes);
}

template <class T>
void Rows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
          const ExtremeLanes<T>& lanes) noexcept
{
    const std::int64_t last = samples - laneStep<T>;
    if (last >= 0 && (last % laneStep<T> == 0 || last % lanes.period == 0)) {
        if (lanes.count == 4 * laneStep<T>)
            return TakeRows<T, 4>(first, pitch, count, samples, lanes);
        if (lanes.count == 3 * laneStep<T>)
            return TakeRows<T, 3>(first, pitch, count, samples, lanes);
    }
    for (std::int64_t y = 0; y < count; ++y) {
        const std::uint8_t* const row = first + y * pitch;
        const std::int64_t taken =
            TakeVectors(AllSamples<T>{reinterpret_cast<const T*>(row)}, samples, lanes);
        TakeRest(row, nullptr, taken, samples, lanes);
    }
}

template <class T>
void SelectedRow(const std::uint8_t* row, const std::uint8_t* selection, std::int64_t samples,
                 const ExtremeLanes<T>& lanes) noexcept
{
    const std::int64_t taken =
        TakeVectors(SelectedSamples<T>{reinterpret_cast<const T*>(row), selection}, samples, lanes);
    TakeRest(row, selection, taken, samples, lanes);
}

#endif

template <class T>
constexpr ExtremesRows<T> rowsOf{&LaneCount<T>, &Rows<T>, &SelectedRow<T>};

const ExtremesKernels& Kernels()
{
    static constexpr auto kernels =
        perType<ExtremesRows>([]<class T>(std::type_identity<T>) { return rowsOf<T>; });
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
const ExtremesKernels& extremesKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
