// Means and standard deviations.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
