// What the tone commands ask of pictures.
#pragma once

#include "io/image.h"

#include <string>

namespace ko::tool {

/// Throws unless the picture is gray or colour, with or without alpha, of unsigned samples of 8 or 16 bits.
void requireTones(const SxImageInfo& format);

/// In what a picture's format differs from another's, to be followed by the other's name; empty where they
/// are the same.
std::string differenceOf(const SxImageInfo& format, const SxImageInfo& other);

/// Channels that hold tones: not the fourth, which is alpha.
int toneChannels(const SxImageInfo& format);

/// Copies the alpha channel, where there is one, to the result.
void keepAlpha(const Image& picture, Image& result);

}  // namespace ko::tool
