// Files that appear complete or not at all.
#pragma once

#include <string>
#include <string_view>

namespace ko::tool {

/// Makes `bytes` the content of a file, under a temporary name beside it until all is on the disk. Where that
/// fails, or a signal ends the program on the way, what was there before stays as it was and nothing else is
/// left behind. Refuses a target that is there and no regular file. "-" is the standard output. Throws
/// `Failure`.
void replaceFile(const std::string& target, std::string_view bytes);

}  // namespace ko::tool
