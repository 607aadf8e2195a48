#include "filters/sobel_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/sobel_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// The whole part of the root of gx^2 + gy^2. Floats hold the sum for bytes (at most 2 * 1020^2) exactly, and
/// no root of one rounds up to a whole number.
///
/// For words (gradients below 2^18) the root is off by less than 2^-4, so that rounded to the nearest it is
/// right or one too large. Its square then differs from the sum by less than 2^20, which 32 bits tell
/// whatever they have dropped of both.
template <class T>
std::int32_t Magnitude(std::int32_t gx, std::int32_t gy) noexcept
{
    const auto x = static_cast<float>(gx), y = static_cast<float>(gy);
    const float root = std::sqrt(x * x + y * y);
    if constexpr (sizeof(T) == 1)
        return static_cast<std::int32_t>(root);
    const auto square = [](std::int32_t v) {
        return static_cast<std::uint32_t>(v) * static_cast<std::uint32_t>(v);
    };
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): no root is negative
    const auto nearest = static_cast<std::int32_t>(root + 0.5F);
    const auto excess = static_cast<std::int32_t>(square(nearest) - square(gx) - square(gy));
    return nearest - (excess > 0);
}

template <class T>
void SobelRowOf(const std::uint8_t* above, const std::uint8_t* middle, const std::uint8_t* below,
                std::uint8_t* dst, std::int64_t width) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 1; x < width - 1; ++x) {
        const std::int32_t nw = loadSample<T>(above, x - 1), n = loadSample<T>(above, x);
        const std::int32_t ne = loadSample<T>(above, x + 1), w = loadSample<T>(middle, x - 1);
        const std::int32_t e = loadSample<T>(middle, x + 1), sw = loadSample<T>(below, x - 1);
        const std::int32_t s = loadSample<T>(below, x), se = loadSample<T>(below, x + 1);
        const std::int32_t gx = (ne + 2 * e + se) - (nw + 2 * w + sw);
        const std::int32_t gy = (sw + 2 * s + se) - (nw + 2 * n + ne);
        storeSample(dst, x, Magnitude<T>(gx, gy));
    }
}

const SobelKernels& Kernels()
{
    static constexpr SobelKernels kernels{&SobelRowOf<std::uint8_t>, &SobelRowOf<std::uint16_t>};
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
const SobelKernels& sobelKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
