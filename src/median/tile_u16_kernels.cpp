#include "median/tile_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/tile_u16_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "median/tile_pixels-inl.h"
#include "median/tile_row-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

const MedianTileKernels<std::uint16_t>& Kernels()
{
    static constexpr MedianTileKernels<std::uint16_t> kernels{
        pixelKernels<std::uint16_t>,
        {TileRow<std::uint16_t, 3>::kernel, TileRow<std::uint16_t, 4>::kernel,
         TileRow<std::uint16_t, 5>::kernel, TileRow<std::uint16_t, 6>::kernel,
         TileRow<std::uint16_t, 7>::kernel,
#if HWY_TARGET != HWY_SCALAR  // where sorting takes longer than counting
         TileRow<std::uint16_t, 8>::kernel, TileRow<std::uint16_t, 9>::kernel
#endif
        }};
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
const MedianTileKernels<std::uint16_t>& medianTileKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
