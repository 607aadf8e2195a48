// PGM and PPM files: written here, because OpenImageIO 2.4 writes them with 8 bits alone.
#pragma once

#include "io/image.h"

#include <string>

namespace ko::tool {

/// True for the endings .pgm, .ppm and .pnm where such a file holds the samples of the format as they are: one channel
/// makes it a PGM file, three a PPM file, whatever its ending says.
bool isNetpbm(const std::string& ending, const SxImageInfo& format);

/// Writes the samples as they are; the greatest level of their depth is the file's. Throws `Failure`.
void writeNetpbm(const Image& image, const std::string& file);

}  // namespace ko::tool
