// From a raw Bayer mosaic to a colour picture.
#pragma once

#include <ko/image.h>

namespace ko {

}  // namespace ko
