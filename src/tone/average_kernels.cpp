#include "tone/average_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/average_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Samples whose sums stay in the first-level cache while all frames are added.
constexpr std::int64_t blockSamples = 2048;

/// Adds a block of each of `Frames` frames, from sample `from` of row y on.
template <class T, int Frames>
void Add(const FrameRows* frames, std::int64_t y, std::int64_t from, std::int64_t samples,
         std::uint32_t* HWY_RESTRICT sums) noexcept
{
    const std::uint8_t* rows[Frames];
    for (int f = 0; f < Frames; ++f) {
        rows[f] = frames[f].first + y * frames[f].stride + from * std::int64_t{sizeof(T)};
        fetchAhead<T, false>(rows[f], samples);
    }
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        std::uint32_t sum = sums[i];
        for (int f = 0; f < Frames; ++f)
            sum += loadSample<T>(rows[f], i);
        sums[i] = sum;
    }
}

/// Sums over the count, truncated. With half a unit more the exact quotient lies at least 0.5 / count away
/// from a whole number, which is far beyond the rounding of the reciprocal: quotient * count is below 2^32.
template <class T>
void Divide(const std::uint32_t* HWY_RESTRICT sums, std::uint8_t* HWY_RESTRICT dst, std::int64_t samples,
            double reciprocal) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i) {
        const double quotient = (static_cast<double>(sums[i]) + 0.5) * reciprocal;
        if constexpr (sizeof(T) == 4)
            storeSample(dst, i, static_cast<std::uint32_t>(quotient));
        else
            storeSample(dst, i, static_cast<T>(static_cast<std::int32_t>(quotient)));
    }
}

template <class T>
void RowAverage(const FrameRows* frames, std::int64_t count, std::int64_t y, std::uint8_t* dst,
                std::int64_t samples) noexcept
{
    const double reciprocal = 1.0 / static_cast<double>(count);
    alignas(64) std::uint32_t sums[blockSamples];
    for (std::int64_t from = 0; from < samples; from += blockSamples) {
        const std::int64_t block = std::min(blockSamples, samples - from);
        std::memset(sums, 0, sizeof(sums));
        std::int64_t f = 0;
        for (; f + 4 <= count; f += 4)
            Add<T, 4>(frames + f, y, from, block, sums);
        for (; f < count; ++f)
            Add<T, 1>(frames + f, y, from, block, sums);
        Divide<T>(sums, dst + from * std::int64_t{sizeof(T)}, block, reciprocal);
    }
}

const AverageKernels& Kernels()
{
    static constexpr AverageKernels kernels{&RowAverage<std::uint8_t>, &RowAverage<std::uint16_t>,
                                            &RowAverage<std::uint32_t>};
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
const AverageKernels& averageKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
