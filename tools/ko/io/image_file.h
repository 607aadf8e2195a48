// Pictures in files: PNG, TIFF, JPEG, EXR and what else OpenImageIO knows, FITS, and camera raws.
//
// Samples that use fewer bits than their container (12 of 16, say) stand in the low bits in memory and in the
// high bits in a file, so that every viewer shows the picture at its brightness. The file's description says
// how many bits count, and which pattern a mosaic has; reading undoes the shift. A file without such a
// description has samples of all bits.
#pragma once

#include "io/image.h"

#include <optional>
#include <string>

namespace ko::tool {

/// The format of a file's picture and, for people, what else the file says about it.
struct FileInfo {
    SxImageInfo format;
    std::string kind;
};

/// Reads no more than the head of the file.
FileInfo readInfo(const std::string& file);

/// Reads the first picture of a file: mono or interleaved, in the sample type of the file, with its depth and
/// its mosaic pattern. Camera raws come as `readRaw` gives them. Throws `Failure`.
Image readImage(const std::string& file);

/// Writes a mono or interleaved image in the format of the file's ending, JPEG and WebP in a
/// quality of 1 to 100. The file appears complete or not at all. Formats of 8 bits get the high bits of
/// 16-bit samples, formats that know no 16-bit integers get them as floating-point numbers in 0...1; anything
/// else that the format cannot hold is refused. Throws `Failure`.
void writeImage(const Image& image, const std::string& file, std::optional<int> quality = {});

}  // namespace ko::tool
