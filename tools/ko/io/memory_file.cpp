#include "io/memory_file.h"

#include <cerrno>
#include <system_error>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ko::tool {
namespace {

[[noreturn]] void fail()
{
    throw std::system_error(errno, std::generic_category());
}

}  // namespace

MemoryFile::MemoryFile() : m_file(memfd_create("ko", MFD_CLOEXEC))
{
    if (m_file < 0)
        fail();
}

MemoryFile::~MemoryFile()
{
    close(m_file);
}

std::string MemoryFile::path() const
{
    return "/proc/self/fd/" + std::to_string(m_file);
}

std::vector<unsigned char> MemoryFile::content() const
{
    struct stat status {};
    if (fstat(m_file, &status) != 0)
        fail();
    std::vector<unsigned char> bytes(static_cast<std::size_t>(status.st_size));
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count =
            pread(m_file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (count <= 0 && errno != EINTR)
            fail();
        done += static_cast<std::size_t>(count > 0 ? count : 0);
    }
    return bytes;
}

}  // namespace ko::tool
