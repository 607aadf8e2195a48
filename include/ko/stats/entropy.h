// Entropy and Otsu thresholds.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
