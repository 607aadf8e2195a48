// Raw files of cameras, unprocessed.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

namespace ko::tool {

/// True for the endings of camera raw files.
bool isRawName(const std::string& file);

/// True where the file itself looks like one, and not like one that the tool has written.
bool startsAsRaw(const Source& source);

/// Unpacks the file: decoders correct the levels that its header claims.
FileInfo readRawInfo(const Source& source);

/// Reads the active area of a sensor: a mosaic, cropped to even size, with the pattern of its top left corner, or
/// the one channel of a monochrome sensor, or the three of a raw that has been demosaiced before. The black level of
/// each position is subtracted and nothing else is done to the samples: they are linear, neither white balanced nor
/// turned upright. The depth is that of the white level, or of the samples where more than one in a thousand exceeds
/// it, with a warning. Throws `Failure`, also for colour sensors without a 2 x 2 mosaic and for files that the
/// decoder found damaged or read to the end too early.
Picture readRaw(const Source& source);

}  // namespace ko::tool
