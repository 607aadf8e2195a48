#include <ko/filters.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "filters/sobel_kernels.h"

namespace ko {

ResultCode Sobel(const SxImageBuf& src, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMono(src) && hasType(src, UInt8, UInt16)},
                {ResultBadArg2, isPresent(dst) && isMono(dst) && hasType(dst, Int32)},
                {ResultBadArg2, sameSize(dst, src)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(dst)},
            }))
            return rc;
        const SobelRow row = hasType(src, UInt8) ? sobelKernels().u8 : sobelKernels().u16;
        const RowWork inner{src.height - std::int64_t{2}, 4 * workOn(src, dst).bytes};
        rowsDynamic(inner, [&](std::int64_t i) noexcept {
            const std::int64_t y = i + 1;
            row(rowOf(src, y - 1), rowOf(src, y), rowOf(src, y + 1), rowOf(dst, y), src.width);
        });
        return ResultOk;
    });
}

}  // namespace ko
