// Points and regions on the command line.
#pragma once

#include "command.h"

#include <ko/image.h>

#include <QPoint>
#include <QRect>

namespace ko::tool {

/// Declares an option of two whole numbers, `x,y`; the point keeps its value where the option is not given.
void addPointOption(CLI::App& command, const std::string& name, QPoint& point,
                    const std::string& description);

/// Declares `--roi x,y,w,h`; the rectangle stays null where the option is not given.
void addRegionOption(CLI::App& command, QRect& region, const std::string& description);

/// The region inside a picture, the whole picture for a null one. Throws when it does not lie inside.
QRect regionIn(const SxImageInfo& format, const QRect& region);

}  // namespace ko::tool
