// Histograms of images, regions, point lists, stencils and masks.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
