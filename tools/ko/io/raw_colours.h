// What a camera raw says of colours.
#pragma once

#include "io/dng_tags.h"
#include "io/sensor.h"

#include <libraw/libraw.h>

namespace ko::tool {

/// Adds the white balance and the matrix.
void addColours(const libraw_data_t& raw, const DngTags& tags, Sensor& sensor);

}  // namespace ko::tool
