// Joint histograms of two images.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
