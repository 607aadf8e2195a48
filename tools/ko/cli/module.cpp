#include "cli/module.h"

#include <filesystem>
#include <stdexcept>

#include <dlfcn.h>

namespace ko::tool {

const void* loadModule(const std::string& path, const char* symbol, const std::string& purpose)
{
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path place = (program.parent_path() / path).lexically_normal();
    void* const module = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    const void* const found = module ? dlsym(module, symbol) : nullptr;
    if (!found)
        throw std::runtime_error("the part of ko that " + purpose + " cannot be loaded: " + dlerror());
    return found;
}

}  // namespace ko::tool
