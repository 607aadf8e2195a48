// Parts of the tool that it loads when a command needs them.
#pragma once

#include <string>

namespace ko::tool {

/// What the module at `path`, relative to the folder of the program, offers under the name `symbol`. It lies where
/// it lay when the program was built or installed, however both have been moved since. Throws where it is missing;
/// `purpose` is what the part of ko does.
const void* loadModule(const std::string& path, const char* symbol, const std::string& purpose);

}  // namespace ko::tool
