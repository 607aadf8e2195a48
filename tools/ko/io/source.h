// Where the bytes of an input come from.
#pragma once

#include <cstdint>
#include <string>

namespace ko::tool {

/// An input that has an end and can be opened by its path as often as readers like.
struct Source {
    std::string name;  ///< for people
    std::string path;
    std::uint64_t size;  ///< in bytes
};

/// The file, or what the standard input holds, which is copied to a temporary file first. Throws `Failure`
/// for what is there and no regular file: devices and pipes may never end.
Source sourceOf(const std::string& file);

}  // namespace ko::tool
