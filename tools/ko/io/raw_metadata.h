// What is told of a camera raw beside its samples.
#pragma once

#include "io/dng_tags.h"
#include "io/image_file.h"

#include <libraw/libraw.h>

namespace ko::tool {

/// Camera, exposure, date, and the orientation where the file has one.
Metadata metadataOf(const libraw_data_t& raw, const DngTags& tags);

}  // namespace ko::tool
