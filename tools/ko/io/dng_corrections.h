// Reads what a DNG file asks to be done to the samples of its sensor.
#pragma once

#include "io/corrections.h"
#include "io/dng_tags.h"
#include "io/raw_samples.h"

#include <ko/image.h>
#include <libraw/libraw.h>

#include <memory>
#include <string>

namespace ko::tool {

/// Of a raw with these samples, of which the format is that of what is read; null where the file asks for nothing.
std::shared_ptr<const Corrections> readCorrections(const std::string& file,
                                                   LibRaw_abstract_datastream& stream, const DngTags& tags,
                                                   const libraw_data_t& raw, const RawSamples& samples,
                                                   const SxImageInfo& format);

}  // namespace ko::tool
