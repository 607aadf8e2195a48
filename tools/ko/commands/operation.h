// Operations that turn a picture into a picture: commands of their own and steps of recipes.
#pragma once

#include "cli/batch.h"
#include "cli/settings.h"
#include "io/image.h"

#include <functional>

namespace ko::tool {

/// Makes the result of one picture and adds the time that the library took to the frame. May run on several
/// threads at once.
using Filter = std::function<Image(const Image& picture, Frame& frame)>;

/// A new one is a file with its definition, its name in operations.h and its place in registry.cpp.
struct Operation {
    /// Reads the files that the settings name, if any, and makes the filter.
    using Prepare = std::function<Filter()>;

    const char* room;  ///< heading in the help
    const char* name;
    const char* summary;
    Prepare (*setUp)(Settings& settings);  ///< declares the settings
    bool keepsColours = false;             ///< so that colour profile and Exif stay true of the result
};

}  // namespace ko::tool
