#include "masks/mask_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "base/mask_groups.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "masks/mask_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T, int Channels>
void ClearUnmaskedPixels(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x) {
        for (int c = 0; c < Channels; ++c)
            storeSample<T>(row, x * Channels + c, mask[x] != 0 ? loadSample<T>(row, x * Channels + c) : T{0});
    }
}

/// Pixels of any length. Groups that are kept as a whole are not touched.
template <class T>
void ClearUnmaskedGroups(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                         std::int64_t channels) noexcept
{
    for (std::int64_t first = 0; first < width; first += maskGroupSize) {
        const std::int64_t end = std::min(first + maskGroupSize, width);
        if (end - first == maskGroupSize && maskGroupAt(mask + first) == MaskGroup::All)
            continue;
        for (std::int64_t x = first; x < end; ++x) {
            const bool isKept = mask[x] != 0;
            for (std::int64_t i = x * channels; i < (x + 1) * channels; ++i)
                storeSample<T>(row, i, isKept ? loadSample<T>(row, i) : T{0});
        }
    }
}

template <class T>
void ClearUnmaskedRowOf(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                        std::int64_t channels) noexcept
{
    if (channels == 1)
        return ClearUnmaskedPixels<T, 1>(row, mask, width);
    // Pixels of wider samples are too long for the compiler to vectorise.
    if constexpr (sizeof(T) <= 4) {
        if (channels == 3)
            return ClearUnmaskedPixels<T, 3>(row, mask, width);
        if (channels == 4)
            return ClearUnmaskedPixels<T, 4>(row, mask, width);
    }
    ClearUnmaskedGroups<T>(row, mask, width, channels);
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
