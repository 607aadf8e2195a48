// PGM and PPM files: read and written here, because OpenImageIO 2.4 moves half of the levels of 16 bits by one when it
// reads them, and writes 8 bits alone.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

#include <string>

namespace ko::tool {

/// True where the file itself looks like a PGM or PPM file, of bytes or of text.
bool startsAsNetpbm(const Source& source);

FileInfo readNetpbmInfo(const Source& source, int page);

/// Reads the samples. A maximum of 2^n - 1 above 255 makes them samples of n bits, as they are; levels of another
/// maximum are spread over all bits, rounded. Throws `Failure`.
Image readNetpbm(const Source& source, int page);

/// True for the endings .pgm, .ppm and .pnm where such a file holds the samples of the format as they are: one channel
/// makes it a PGM file, three a PPM file, whatever its ending says.
bool isNetpbm(const std::string& ending, const SxImageInfo& format);

/// Writes the samples as they are; the greatest level of their depth is the file's. Throws `Failure`.
void writeNetpbm(const Image& image, const std::string& file);

}  // namespace ko::tool
