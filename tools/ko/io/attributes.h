// What files say of a picture beyond its samples: colour profile and Exif.
#pragma once

#include <OpenImageIO/imageio.h>

#include <memory>

namespace ko::tool {

struct Attributes {
    OIIO::ParamValueList list;
};

/// Those that stay true of a picture of the same colours.
std::shared_ptr<const Attributes> attributesOf(const OIIO::ImageSpec& spec);

/// Adds them to a picture, a colour profile only where it suits the number of channels.
void addAttributes(const Attributes& attributes, OIIO::ImageSpec& spec);

}  // namespace ko::tool
