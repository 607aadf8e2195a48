#include "io/geometry.h"

#include <stdexcept>
#include <string>

namespace ko::tool {

QRect regionIn(const SxImageInfo& format, const QRect& region)
{
    const QRect whole(0, 0, format.width, format.height);
    if (region.isNull())
        return whole;
    if (!whole.contains(region))
        throw std::runtime_error("the region does not lie inside the picture of " +
                                 std::to_string(format.width) + " x " + std::to_string(format.height));
    return region;
}

}  // namespace ko::tool
