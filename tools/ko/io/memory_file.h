// A file that is nowhere but in memory.
#pragma once

#include <string>
#include <vector>

namespace ko::tool {

/// For libraries that want to open what they write by a name. Throws `std::system_error`.
class MemoryFile {
public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const;
    std::vector<unsigned char> content() const;

private:
    int m_file;
};

}  // namespace ko::tool
