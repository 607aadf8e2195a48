// FITS files, the format of scientific cameras: read and written here, because OpenImageIO 2.4 takes the rows
// one place too high and drops the first, which turns a mosaic into another one.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

namespace ko::tool {

/// True for the endings of FITS files that can be read, compressed by gzip or not.
bool isFitsName(const std::string& file);

/// True for those that can be written.
bool isFitsEnding(const std::string& ending);

/// True where the file itself looks like one, compressed or not.
bool startsAsFits(const Source& source);

FileInfo readFitsInfo(const Source& source, int page);

/// Reads the page-th picture of the file, in its primary array or an image extension: one plane, or the
/// channels of a picture as a cube. The first row of the file is row 0, which is what `BAYERPAT` refers to.
/// Samples with BSCALE, BZERO or BLANK become floats, those of integers of 8 and 16 bits single ones, in
/// which blank ones are NaN; offsets of half the range stand for unsigned integers. Throws `Failure`.
Image readFits(const Source& source, int page);

/// Writes the samples as they are in type and value range, with `BAYERPAT` for a mosaic. Throws `Failure`.
void writeFits(const Image& image, const std::string& file);

}  // namespace ko::tool
