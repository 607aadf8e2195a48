#include "median/tile_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/tile_u8_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "median/tile_pixels-inl.h"
#include "median/tile_row-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

const MedianTileKernels<std::uint8_t>& Kernels()
{
#if HWY_TARGET == HWY_SCALAR
    // One lane counts bytes faster than it sorts them.
    static constexpr MedianTileKernels<std::uint8_t> kernels{pixelKernels<std::uint8_t>, {}};
#else
    static constexpr MedianTileKernels<std::uint8_t> kernels{
        pixelKernels<std::uint8_t>,
        {TileRow<std::uint8_t, 3>::kernel, TileRow<std::uint8_t, 4>::kernel, TileRow<std::uint8_t, 5>::kernel,
         TileRow<std::uint8_t, 6>::kernel, TileRow<std::uint8_t, 7>::kernel,
#if HWY_TARGET != HWY_SSE4  // whose short vectors count faster than they sort
         TileRow<std::uint8_t, 8>::kernel, TileRow<std::uint8_t, 9>::kernel
#endif
        }};
#endif
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

template <>
const MedianTileKernels<std::uint8_t>& medianTileKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
