#include "pixel/clamp_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/clamp_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// What replaces a sample: limit - 1 modulo 2^32, read as signed where the sample is wider.
template <class T>
T TopOf(std::int32_t limit) noexcept
{
    return static_cast<T>(static_cast<std::int32_t>(static_cast<std::uint32_t>(limit) - 1U));
}

/// Samples of less than 32 bits, which the comparison extends with zeros. It is made in their own width: a
/// limit at or below 0 replaces every sample, one above the type none.
template <class T>
void ClampNarrowRow(std::uint8_t* row, std::int64_t samples, std::int32_t limit) noexcept
{
    if (limit > std::numeric_limits<T>::max())
        return;
    const T least = limit > 0 ? static_cast<T>(limit) : T{0};
    const T top = TopOf<T>(limit);
    for (std::int64_t first = 0; first < samples; first += samplesPerFetch) {
        const std::int64_t end = std::min(first + samplesPerFetch, samples);
        fetchAhead<T, true>(row + first * std::int64_t{sizeof(T)}, end - first);
        KO_INDEPENDENT_ITERATIONS
        for (std::int64_t i = first; i < end; ++i) {
            const T sample = loadSample<T>(row, i);
            storeSample(row, i, sample >= least ? top : sample);
        }
    }
}

/// Samples of 32 and 64 bits, of which the comparison sees the low 32.
template <class T>
void ClampWideRow(std::uint8_t* row, std::int64_t samples, std::int32_t limit) noexcept
{
    const T top = TopOf<T>(limit);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const T sample = loadSample<T>(row, i);
        storeSample(row, i, static_cast<std::int32_t>(sample) >= limit ? top : sample);
    }
}

const ClampKernels& Kernels()
{
    static constexpr ClampKernels kernels{&ClampNarrowRow<std::uint8_t>, &ClampNarrowRow<std::uint16_t>,
                                          &ClampWideRow<std::uint32_t>, &ClampWideRow<std::uint64_t>};
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
const ClampKernels& clampKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
