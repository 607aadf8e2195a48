// Equalisation, matching, contrast stretching, background correction and averaging.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
