// Histograms of one row or one column.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
