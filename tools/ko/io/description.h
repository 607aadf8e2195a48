// What a file says about its samples beyond its own format: depth and mosaic pattern.
#pragma once

#include "io/image.h"

#include <optional>
#include <string>

namespace ko::tool {

/// The text that goes into the description of a file, "koimproc bits=12 grid=RGGB".
std::string describe(const SxImageInfo& format);

/// Sets depth and pattern from such a text; any other text, and values that the format cannot have, are
/// somebody else's and change nothing.
void applyDescription(const std::string& text, SxImageInfo& format);

/// The image with its samples in the high bits, where files have them, those above its depth at the brightest
/// value; nothing when they stand there already.
std::optional<Image> alignedForFile(const Image& image);

/// The way back, in place.
void alignForMemory(Image& image);

}  // namespace ko::tool
