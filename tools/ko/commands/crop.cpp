// ko crop: a part of a picture.
#include "commands/operations.h"
#include "io/geometry.h"
#include "io/parts.h"

#include <memory>

namespace ko::tool {

const Operation cropOperation{
    "Files", "crop", "Cut a part out of pictures; that of a mosaic keeps its colours",
    [](Settings& settings) -> Operation::Prepare {
        auto region = std::make_shared<QRect>();
        settings.region("roi", *region, "left, top, width and height in pixels").isRequired = true;
        return [region]() -> Filter {
            return [region](const Image& picture, Frame&) {
                return cropOf(picture, regionIn(*picture, *region));
            };
        };
    },
    true};

}  // namespace ko::tool
