// FITS files, the format of scientific cameras: read and written here, because OpenImageIO 2.4 takes the rows
// one place too high and drops the first, which turns a mosaic into another one.
#pragma once

#include "io/image_file.h"

namespace ko::tool {

bool isFitsName(const std::string& file);

FileInfo readFitsInfo(const std::string& file);

/// Reads the primary array: one plane, or the channels of a picture as a cube. The first row of the file is
/// row 0, which is what `BAYERPAT` refers to. Throws `Failure`.
Image readFits(const std::string& file);

/// Writes the samples as they are in type and value range, with `BAYERPAT` for a mosaic. Throws `Failure`.
void writeFits(const Image& image, const std::string& file);

}  // namespace ko::tool
