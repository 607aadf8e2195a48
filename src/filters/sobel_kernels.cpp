#include "filters/sobel_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/sobel_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// `Real` must hold gx^2 + gy^2 exactly, and its square root must not round up to a whole number: float does
/// for 8 bits (at most 2 * 1020^2), double for 16.
template <class T, class Real>
void SobelRowOf(const std::uint8_t* above, const std::uint8_t* middle, const std::uint8_t* below,
                std::uint8_t* dst, std::int64_t width) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 1; x < width - 1; ++x) {
        const std::int32_t nw = loadSample<T>(above, x - 1), n = loadSample<T>(above, x);
        const std::int32_t ne = loadSample<T>(above, x + 1), w = loadSample<T>(middle, x - 1);
        const std::int32_t e = loadSample<T>(middle, x + 1), sw = loadSample<T>(below, x - 1);
        const std::int32_t s = loadSample<T>(below, x), se = loadSample<T>(below, x + 1);
        const auto gx = static_cast<Real>((ne + 2 * e + se) - (nw + 2 * w + sw));
        const auto gy = static_cast<Real>((sw + 2 * s + se) - (nw + 2 * n + ne));
        storeSample(dst, x, static_cast<std::int32_t>(std::sqrt(gx * gx + gy * gy)));
    }
}

const SobelKernels& Kernels()
{
    static constexpr SobelKernels kernels{&SobelRowOf<std::uint8_t, float>,
                                          &SobelRowOf<std::uint16_t, double>};
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
