// Minimum and maximum.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
