// Reads what a DNG file asks to be done to the samples of its sensor.
#pragma once

#include "io/corrections.h"
#include "io/dng_tags.h"

#include <ko/image.h>
#include <libraw/libraw.h>

#include <memory>
#include <string>

namespace ko::tool {

/// Of a raw of this format, as it is read; null where the file asks for nothing.
std::shared_ptr<const Corrections> readCorrections(const std::string& file,
                                                   LibRaw_abstract_datastream& stream, const DngTags& tags,
                                                   const libraw_image_sizes_t& sizes,
                                                   const SxImageInfo& format);

}  // namespace ko::tool
