// What the commands share that turn pictures into pictures.
#pragma once

#include "cli/jobs.h"
#include "commands/operation.h"

namespace ko::tool {

/// Reads every input, filters it and writes the result.
int runFilter(const FileSeries& files, const Filter& filter, bool keepsColours);

/// Throws unless the picture has one channel and unsigned samples of 8 or 16 bits.
void requireMonoUnsigned(const SxImageInfo& picture);

/// Throws unless the picture has one channel.
void requireMono(const SxImageInfo& picture);

/// Throws unless the picture is a mosaic of even size and unsigned samples of 8 or 16 bits.
void requireMosaic(const SxImageInfo& picture);

}  // namespace ko::tool
