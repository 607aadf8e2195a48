#include <ko/masks.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "masks/binarize_kernels.h"

namespace ko {

ResultCode Binarize(const SxImageBuf& src, SxImageBuf& dst, unsigned char value)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMono(src)},
                {ResultBadArg2, isPresent(dst) && isMono(dst) && hasType(dst, UInt8)},
                {ResultBadArg2, sameSize(dst, src)},
            }))
            return rc;
        return dispatch(BySize{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) {
                            const BinarizeRow row = binarizeKernels().of<T>();
                            rowsStatic(workOn(src, dst), [&](std::int64_t y) noexcept {
                                row(rowOf(src, y), rowOf(dst, y), src.width, value);
                            });
                        });
    });
}

}  // namespace ko
