// Active contour.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
