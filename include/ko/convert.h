// Conversion of floating-point and wide-integer images to unsigned ones.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
