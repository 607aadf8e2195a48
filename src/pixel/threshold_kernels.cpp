#include "pixel/threshold_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/threshold_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// One level for all samples.
template <class T, class Out>
void BinaryUniform(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, T threshold, Out low,
                   Out high) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<Out>(dst, i, loadSample<T>(src, i) > threshold ? high : low);
}

/// A level per sample.
template <class T, class Out>
void BinaryEach(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const T* thresholds,
                const Out* lows, const Out* highs) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const Out low = lows[i], high = highs[i];
        storeSample<Out>(dst, i, loadSample<T>(src, i) > thresholds[i] ? high : low);
    }
}

/// One row. Kept out of line: rows of small images would wait for the registers that it saves.
template <class T, class Out>
HWY_NOINLINE void BinaryFetching(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                                 const BinaryLevels<T, Out>& levels) noexcept
{
    const bool uniform = levels.period == 1;
    const std::int64_t step = uniform ? samplesPerFetch : levels.period;
    for (std::int64_t first = 0; first < samples; first += step) {
        const std::uint8_t* const from = src + first * std::int64_t{sizeof(T)};
        std::uint8_t* const to = dst + first * std::int64_t{sizeof(Out)};
        const std::int64_t count = std::min(step, samples - first);
        fetchAhead<T, false>(from, count);
        fetchAhead<Out, true>(to, count);
        if (uniform)
            BinaryUniform<T, Out>(from, to, count, levels.thresholds[0], levels.lows[0], levels.highs[0]);
        else
            BinaryEach<T, Out>(from, to, count, levels.thresholds, levels.lows, levels.highs);
    }
}

template <class T, class Out>
void BinaryRowsOf(const RowPairs& given, const BinaryLevels<T, Out>& levels) noexcept
{
    const RowPairs pairs = given;  // which the samples that are stored cannot change
    if (levels.period != 1 || pairs.isWorthFetching()) {
        for (std::int64_t y = 0; y < pairs.rows; ++y)
            BinaryFetching(pairs.srcRow(y), pairs.dstRow(y), pairs.samples, levels);
        return;
    }
    const T threshold = levels.thresholds[0];
    const Out low = levels.lows[0], high = levels.highs[0];
    for (std::int64_t y = 0; y < pairs.rows; ++y)
        BinaryUniform<T, Out>(pairs.srcRow(y), pairs.dstRow(y), pairs.samples, threshold, low, high);
}

/// A period of levels that nothing else can point to: the compiler keeps it in registers.
template <class T>
struct TreatedLevels {
    T thresholds[treatedPeriod];
    std::uint8_t lows[treatedPeriod], highs[treatedPeriod], treated[treatedPeriod];

    TreatedLevels(const BinaryLevels<T, std::uint8_t>& levels, const std::uint8_t* marks) noexcept
    {
        std::copy_n(levels.thresholds, treatedPeriod, thresholds);
        std::copy_n(levels.lows, treatedPeriod, lows);
        std::copy_n(levels.highs, treatedPeriod, highs);
        std::copy_n(marks, treatedPeriod, treated);
    }
};

template <class T>
HWY_INLINE void MarkTreated(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                            const TreatedLevels<T>& levels) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::uint8_t low = levels.lows[i], high = levels.highs[i], kept = dst[i];
        const std::uint8_t marked = loadSample<T>(src, i) > levels.thresholds[i] ? high : low;
        dst[i] = levels.treated[i] != 0 ? marked : kept;
    }
}

template <class T>
void MarkTreatedRowsOf(const RowPairs& pairs, const BinaryLevels<T, std::uint8_t>& levels,
                       const std::uint8_t* treated) noexcept
{
    const TreatedLevels<T> own(levels, treated);
    for (std::int64_t y = 0; y < pairs.rows; ++y) {
        const std::uint8_t* const src = pairs.srcRow(y);
        std::uint8_t* const dst = pairs.dstRow(y);
        std::int64_t at = 0;
        while (at + samplesPerFetch <= pairs.samples) {
            fetchAhead<T, false>(src + at * std::int64_t{sizeof(T)}, samplesPerFetch);
            fetchAhead<std::uint8_t, true>(dst + at, samplesPerFetch);
            for (const std::int64_t end = at + samplesPerFetch; at < end; at += treatedPeriod)
                MarkTreated(src + at * std::int64_t{sizeof(T)}, dst + at, treatedPeriod, own);
        }
        for (; at < pairs.samples; at += treatedPeriod)
            MarkTreated(src + at * std::int64_t{sizeof(T)}, dst + at,
                        std::min(treatedPeriod, pairs.samples - at), own);
    }
}

template <class T>
void MarkChannelRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, PixelSteps steps,
                      const BinaryLevels<T, std::uint8_t>& levels) noexcept
{
    const T threshold = levels.thresholds[0];
    const std::uint8_t low = levels.lows[0], high = levels.highs[0];
    for (std::int64_t x = 0; x < width; ++x)
        dst[x * steps.dst] = loadSample<T>(src, x * steps.src) > threshold ? high : low;
}

template <class T>
void KeepUniform(std::uint8_t* row, std::int64_t samples, T threshold, T value) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const T sample = loadSample<T>(row, i);
        storeSample<T>(row, i, sample <= threshold ? value : sample);
    }
}

template <class T>
void KeepEach(std::uint8_t* row, std::int64_t samples, const T* thresholds, const T* values) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const T sample = loadSample<T>(row, i), value = values[i];
        storeSample<T>(row, i, sample <= thresholds[i] ? value : sample);
    }
}

template <class T>
void KeepRowOf(std::uint8_t* row, std::int64_t samples, const KeepLevels<T>& levels) noexcept
{
    const bool uniform = levels.period == 1;
    const std::int64_t step = uniform ? samplesPerFetch : levels.period;
    for (std::int64_t first = 0; first < samples; first += step) {
        std::uint8_t* const at = row + first * std::int64_t{sizeof(T)};
        const std::int64_t count = std::min(step, samples - first);
        fetchAhead<T, true>(at, count);
        if (uniform)
            KeepUniform<T>(at, count, levels.thresholds[0], levels.values[0]);
        else
            KeepEach<T>(at, count, levels.thresholds, levels.values);
    }
}

template <class T>
constexpr ThresholdRows<T> rowsOf{&BinaryRowsOf<T, T>, &BinaryRowsOf<T, std::uint8_t>, &MarkTreatedRowsOf<T>,
                                  &MarkChannelRowOf<T>, &KeepRowOf<T>};

const ThresholdKernels& Kernels()
{
    static constexpr auto kernels =
        perType<ThresholdRows>([]<class T>(std::type_identity<T>) { return rowsOf<T>; });
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
const ThresholdKernels& thresholdKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
