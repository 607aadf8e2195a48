// Raw files of cameras, unprocessed.
#pragma once

#include "io/image_file.h"

namespace ko::tool {

/// True for the endings of camera raw files.
bool isRawName(const std::string& file);

FileInfo readRawInfo(const std::string& file);

/// Reads the mosaic of a camera: the active area, cropped to even size, with the pattern of its top left
/// corner. The black level of each position is subtracted and nothing else is done to the samples: they are
/// linear, neither white balanced nor turned upright. The depth is that of the white level. Throws `Failure`,
/// also for sensors without a 2 x 2 mosaic.
Image readRaw(const std::string& file);

}  // namespace ko::tool
