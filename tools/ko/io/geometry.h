// Regions of pictures.
#pragma once

#include <ko/image.h>

#include <QRect>

namespace ko::tool {

/// The region inside a picture, the whole picture for a null one. Throws when it does not lie inside.
QRect regionIn(const SxImageInfo& format, const QRect& region);

}  // namespace ko::tool
