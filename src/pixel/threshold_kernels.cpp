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

/// Kept out of line: rows of small images would wait for the registers that it saves.
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
void BinaryRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                 const BinaryLevels<T, Out>& levels) noexcept
{
    if (levels.period == 1 && !fetchingPays.load(std::memory_order_relaxed))
        BinaryUniform<T, Out>(src, dst, samples, levels.thresholds[0], levels.lows[0], levels.highs[0]);
    else
        BinaryFetching(src, dst, samples, levels);
}

template <class T>
void MarkTreated(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples, const T* thresholds,
                 const std::uint8_t* lows, const std::uint8_t* highs, const std::uint8_t* treated) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::uint8_t low = lows[i], high = highs[i], kept = dst[i];
        const std::uint8_t marked = loadSample<T>(src, i) > thresholds[i] ? high : low;
        dst[i] = treated[i] != 0 ? marked : kept;
    }
}

template <class T>
void MarkTreatedRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                      const BinaryLevels<T, std::uint8_t>& levels, const std::uint8_t* treated) noexcept
{
    for (std::int64_t first = 0; first < samples; first += levels.period) {
        const std::uint8_t* const from = src + first * std::int64_t{sizeof(T)};
        const std::int64_t count = std::min(levels.period, samples - first);
        fetchAhead<T, false>(from, count);
        fetchAhead<std::uint8_t, true>(dst + first, count);
        MarkTreated<T>(from, dst + first, count, levels.thresholds, levels.lows, levels.highs, treated);
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
constexpr ThresholdRows<T> rowsOf{&BinaryRowOf<T, T>, &BinaryRowOf<T, std::uint8_t>, &MarkTreatedRowOf<T>,
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
