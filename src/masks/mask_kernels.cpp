#include "masks/mask_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "masks/mask_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Pixels of `Channels` samples, or of any number where that is 0.
template <class T, int Channels>
HWY_INLINE void ClearEach(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                          std::int64_t channels) noexcept
{
    if constexpr (Channels == 0) {
        for (std::int64_t x = 0; x < width; ++x) {
            const bool isKept = mask[x] != 0;
            for (std::int64_t i = x * channels; i < (x + 1) * channels; ++i)
                storeSample<T>(row, i, isKept ? loadSample<T>(row, i) : T{0});
        }
    } else {
        KO_INDEPENDENT_ITERATIONS
        for (std::int64_t x = 0; x < width; ++x) {
            for (int c = 0; c < Channels; ++c) {
                const std::int64_t i = x * Channels + c;
                storeSample<T>(row, i, mask[x] != 0 ? loadSample<T>(row, i) : T{0});
            }
        }
    }
}

/// Pixels are not touched where a vector of the mask keeps all of its own. Where it keeps none, they need not be read,
/// which gains nothing if they are one vector themselves.
template <class T, int Channels>
void ClearUnmaskedPixels(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                         std::int64_t channels) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint8_t> d;
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(d));
    const std::int64_t pixelBytes = (Channels == 0 ? channels : Channels) * std::int64_t{sizeof(T)};
    for (; x + lanes <= width; x += lanes) {
        const auto isKept = hn::Ne(hn::LoadU(d, mask + x), hn::Zero(d));
        if (hn::AllTrue(d, isKept))
            continue;
        if (pixelBytes > 1 && hn::AllFalse(d, isKept))
            std::memset(row + x * pixelBytes, 0, static_cast<std::size_t>(lanes * pixelBytes));
        else
            ClearEach<T, Channels>(row + x * pixelBytes, mask + x, lanes, channels);
    }
    row += x * pixelBytes;
#endif
    if (x < width)
        ClearEach<T, Channels>(row, mask + x, width - x, channels);
}

template <class T>
void ClearUnmaskedRowOf(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                        std::int64_t channels) noexcept
{
    if (channels == 1)
        return ClearUnmaskedPixels<T, 1>(row, mask, width, channels);
    // Pixels of wider samples are too long for the compiler to vectorise.
    if constexpr (sizeof(T) <= 4) {
        if (channels == 3)
            return ClearUnmaskedPixels<T, 3>(row, mask, width, channels);
        if (channels == 4)
            return ClearUnmaskedPixels<T, 4>(row, mask, width, channels);
    }
    ClearUnmaskedPixels<T, 0>(row, mask, width, channels);
}

template <class T>
void SetMaskedRowOf(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                    const void* value) noexcept
{
    const T sample = loadSample<T>(static_cast<const std::uint8_t*>(value), 0);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x)
        storeSample<T>(row, x, mask[x] != 0 ? sample : loadSample<T>(row, x));
}

template <class T>
void MarkDifferentRowOf(const std::uint8_t* row, std::uint8_t* mask, std::int64_t width,
                        std::uint32_t value) noexcept
{
    const T sample = static_cast<T>(value);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x)
        mask[x] = loadSample<T>(row, x) != sample ? std::uint8_t{1} : mask[x];
}

template <class T>
void MarkUnlikeRowOf(const std::uint8_t* row, std::uint8_t* mask, std::int64_t width,
                     std::uint16_t value) noexcept
{
    if constexpr (sizeof(T) == 1) {
        const auto low = static_cast<std::uint8_t>(value), high = static_cast<std::uint8_t>(value >> 8);
        KO_INDEPENDENT_ITERATIONS
        for (std::int64_t x = 0; x < width; ++x)
            mask[x] = static_cast<std::uint8_t>((row[x] != low) | (row[x + 1] != high));
    } else {
        KO_INDEPENDENT_ITERATIONS
        for (std::int64_t x = 0; x < width; ++x)
            mask[x] = static_cast<std::uint16_t>(loadSample<T>(row, x)) != value ? 1 : 0;
    }
}

const MaskKernels& Kernels()
{
    static constexpr MaskKernels kernels{
        perSize<ClearUnmaskedRow>([]<class T>(std::type_identity<T>) { return &ClearUnmaskedRowOf<T>; }),
        perSize<SetMaskedRow>([]<class T>(std::type_identity<T>) { return &SetMaskedRowOf<T>; }),
        perSize<MarkDifferentRow>([]<class T>(std::type_identity<T>) { return &MarkDifferentRowOf<T>; }),
        {&MarkUnlikeRowOf<std::uint8_t>, &MarkUnlikeRowOf<std::uint16_t>, &MarkUnlikeRowOf<std::uint32_t>,
         &MarkUnlikeRowOf<std::uint64_t>}};
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
const MaskKernels& maskKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
