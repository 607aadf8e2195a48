// Picture files through OpenImageIO.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

/// Reads the head of a page, as it is stored. Throws `Failure`, as the other functions do.
FileInfo readPictureInfo(const Source& source, int page);

/// Reads a page, as it is stored.
Picture readPictureFile(const Source& source, int page);

/// True where the tool itself has written the file.
bool isOurs(const Source& source);

/// The bytes of a file of the format that its ending names, for samples that stand where files have them.
std::vector<unsigned char> encodePicture(const Image& image, const std::string& file,
                                         const Metadata& metadata, std::optional<int> quality);

}  // namespace ko::tool
