#include "plugin/linear.h"

#include "plugin/linear_kernels.h"

#include <limits>

namespace ko::gst {

namespace {

template <class T>
const T* rowAt(const SxImageBuf& src, std::int64_t y)
{
    return reinterpret_cast<const T*>(src.data + y * src.stride);
}

template <class T, class Kernel>
void makeRows(const SxImageBuf& src, SxImageBuf& dst, Kernel kernel)
{
    const bool redIsEven = src.bayerGrid == BayerRGGB || src.bayerGrid == BayerGRBG;
    const bool colourIsFirst = src.bayerGrid == BayerRGGB || src.bayerGrid == BayerBGGR;
    const std::int64_t only = src.height == 1 ? 0 : 1;
    for (std::int64_t y = 0; y < src.height; ++y) {
        const bool isEven = y % 2 == 0;
        kernel(MosaicRow<T>{rowAt<T>(src, y > 0 ? y - 1 : only), rowAt<T>(src, y),
                            rowAt<T>(src, y + 1 < src.height ? y + 1 : src.height - 1 - only), src.width,
                            isEven == colourIsFirst, isEven != redIsEven, std::numeric_limits<T>::max()},
               reinterpret_cast<T*>(dst.data + y * dst.stride));
    }
}

}  // namespace

void demosaicLinear(const SxImageBuf& src, SxImageBuf& dst)
{
    const LinearKernels& kernels = linearKernels();
    if (src.dataType == UInt16)
        makeRows<std::uint16_t>(src, dst, kernels.words4);
    else
        makeRows<std::uint8_t>(src, dst, dst.channels == 4 ? kernels.bytes4 : kernels.bytes3);
}

}  // namespace ko::gst
