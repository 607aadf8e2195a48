#include "io/picture_module.h"

#include "cli/module.h"

namespace ko::tool {

const PictureModule& pictureModule()
{
    static const PictureModule& module = *static_cast<const PictureModule*>(
        loadModule(KO_PICTURE_MODULE, "koPictureModule", "knows picture files"));
    return module;
}

}  // namespace ko::tool
