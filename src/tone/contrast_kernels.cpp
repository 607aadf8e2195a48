#include "tone/contrast_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/contrast_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Distance of a sample from a level, wrapped to 32 bits.
template <class T>
double Distance(T sample, std::int32_t level) noexcept
{
    return static_cast<std::int32_t>(std::uint32_t{sample} - static_cast<std::uint32_t>(level));
}

/// The low bits of a number in 0...limit - 1; 0 for all others, NaN included.
template <class T>
T Below(double number, double limit) noexcept
{
    const double kept = number >= 0.0 && number < limit ? number : 0.0;
    return static_cast<T>(static_cast<std::int32_t>(kept));
}

template <class T>
void StretchBlock(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                  const ContrastBand& band) noexcept
{
    const std::int32_t low = band.low;
    const double scale = band.scale, limit = band.limit;
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(dst, i, Below<T>(Distance(loadSample<T>(src, i), low) * scale, limit));
}

template <class T>
void StretchRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                  const ContrastBand& band) noexcept
{
    for (std::int64_t first = 0; first < samples; first += samplesPerFetch) {
        const std::uint8_t* const from = src + first * std::int64_t{sizeof(T)};
        std::uint8_t* const to = dst + first * std::int64_t{sizeof(T)};
        const std::int64_t count = std::min(samplesPerFetch, samples - first);
        fetchAhead<T, false>(from, count);
        fetchAhead<T, true>(to, count);
        StretchBlock<T>(from, to, count, band);
    }
}

template <class T>
void CompressRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                   const ContrastBand& band) noexcept
{
    const std::int32_t low = band.low, high = band.high;
    const double scale = band.scale, limit = band.limit;
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const T sample = loadSample<T>(src, i);
        const T compressed = Below<T>(Distance(sample, low) / scale, limit);
        storeSample<T>(dst, i, sample >= low && sample <= high ? compressed : T{0});
    }
}

template <class T>
void StretchMeanRowOf(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
                      std::int64_t samples, const ContrastBand& band) noexcept
{
    const double low = band.low, scale = band.scale, limit = band.limit;
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::int32_t sum = loadSample<T>(first, i) + loadSample<T>(second, i);
        storeSample<T>(dst, i, Below<T>((sum * 0.5 - low) * scale, limit));
    }
}

template <class T>
void MeanRowOf(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* dst,
               std::int64_t samples) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const std::int32_t sum = loadSample<T>(first, i) + loadSample<T>(second, i);
        storeSample<T>(dst, i, static_cast<T>(sum >> 1));
    }
}

template <class T>
void ClearOutsideRowOf(const std::uint8_t* const* samples, std::uint8_t* const* results, std::int64_t pixels,
                       const ContrastBand& band) noexcept
{
    const std::int32_t low = band.low, high = band.high;
    const std::uint8_t *const a = samples[0], *const b = samples[1], *const c = samples[2];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < pixels; ++i) {
        const std::int32_t x = loadSample<T>(a, i), y = loadSample<T>(b, i), z = loadSample<T>(c, i);
        const bool inside = std::min({x, y, z}) >= low && std::max({x, y, z}) <= high;
        const T kept = inside ? static_cast<T>(~T{0}) : T{0};
        for (int k = 0; k < 3; ++k)
            storeSample<T>(results[k], i, loadSample<T>(results[k], i) & kept);
    }
}

template <class T>
constexpr ContrastRows<T> rowsOf{&StretchRowOf<T>, &CompressRowOf<T>, &StretchMeanRowOf<T>, &MeanRowOf<T>,
                                 &ClearOutsideRowOf<T>};

const ContrastKernels& Kernels()
{
    static constexpr ContrastKernels kernels{rowsOf<std::uint8_t>, rowsOf<std::uint16_t>};
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
const ContrastKernels& contrastKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
