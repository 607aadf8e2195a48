#include "masks/binarize_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "masks/binarize_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void BinarizeRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                   std::uint8_t value) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x)
        dst[x] = loadSample<T>(src, x) != T{0} ? value : std::uint8_t{0};
}

const BinarizeKernels& Kernels()
{
    static constexpr BinarizeKernels kernels =
        perSize<BinarizeRow>([]<class T>(std::type_identity<T>) { return &BinarizeRowOf<T>; });
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
const BinarizeKernels& binarizeKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
