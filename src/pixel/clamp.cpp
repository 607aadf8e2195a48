#include <ko/pixel.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/depth.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "pixel/clamp_kernels.h"

namespace ko {

ResultCode ClampToColorDepth(SxImageBuf& image)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(image)},
                {ResultUnsupportedType, hasKnownPacking(image)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16, UInt32, UInt64>{}, image.dataType,
                        {{ResultBadArg1, rowsFit(image)}}, [&]<class T>(std::type_identity<T>) {
                            if (!hasPixels(image))
                                return;
                            const ClampRow row = clampKernels().of<T>();
                            const std::int32_t limit = colorDepthLimit(image);
                            const bool planar = isPlanar(image);
                            const std::int64_t samples =
                                std::int64_t{image.width} * (planar ? 1 : image.channels);
                            for (int plane = 0; plane < (planar ? image.channels : 1); ++plane) {
                                rowsDynamic(workOn(image).times(2), [&](std::int64_t y) noexcept {
                                    row(planeRowOf(image, plane, y), samples, limit);
                                });
                            }
                        });
    });
}

}  // namespace ko
