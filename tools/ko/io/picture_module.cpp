#include "io/picture_module.h"

#include <filesystem>
#include <stdexcept>

#include <dlfcn.h>

namespace ko::tool {
namespace {

/// It lies where it lay when the program was built or installed, however both have been moved since.
const PictureModule& loadModule()
{
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path path = (program.parent_path() / KO_PICTURE_MODULE).lexically_normal();
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const functions = module ? dlsym(module, "koPictureModule") : nullptr;
    if (!functions)
        throw std::runtime_error(std::string("the part of ko that knows picture files cannot be loaded: ") +
                                 dlerror());
    return *static_cast<const PictureModule*>(functions);
}

}  // namespace

const PictureModule& pictureModule()
{
    static const PictureModule& module = loadModule();
    return module;
}

}  // namespace ko::tool
