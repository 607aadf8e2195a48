// What the commands share that turn pictures into pictures.
#pragma once

#include "batch.h"
#include "image.h"
#include "jobs.h"

#include <functional>

namespace ko::tool {

/// Makes the result of one picture and adds the time that the library took to the frame.
using Filter = std::function<Image(const Image& picture, Frame& frame)>;

/// Reads every input, filters it and writes the result.
int runFilter(const FileSeries& files, const Filter& filter);

/// Throws unless the picture has one channel and unsigned samples of 8 or 16 bits.
void requireMonoUnsigned(const Image& picture);

/// An image of the format whose samples are all 0.
Image cleared(const SxImageInfo& format);

}  // namespace ko::tool
