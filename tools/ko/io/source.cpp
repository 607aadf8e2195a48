#include "io/source.h"

#include "cli/failure.h"
#include "cli/transfer.h"

#include <QTemporaryFile>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include <unistd.h>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

std::string textOf(int error)
{
    return std::generic_category().message(error);
}

/// The standard input as a file that has no name where the file system allows it, and so is gone with the
/// program however that ends.
class Spool {
public:
    explicit Spool(std::uint64_t most) : m_name(nameOfInput(standardStream))
    {
        if (!m_file.open())
            throw Failure(m_name, "cannot be kept: " + m_file.errorString().toStdString());
        std::array<char, 1 << 16> block;
        for (;;) {
            const ssize_t count = read(STDIN_FILENO, block.data(), block.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                throw Failure(m_name, "cannot be read: " + textOf(errno));
            if (count == 0)
                break;
            m_size += static_cast<std::uint64_t>(count);
            if (m_size > most)
                throw Failure(m_name,
                              "is longer than " + std::to_string(most >> 20) + " MiB; --spool allows more");
            if (m_file.write(block.data(), count) != count || !m_file.flush())
                throw Failure(m_name, "cannot be kept: " + m_file.errorString().toStdString());
        }
    }

    Source source() const { return {m_name, "/proc/self/fd/" + std::to_string(m_file.handle()), m_size}; }

private:
    std::string m_name;
    QTemporaryFile m_file;
    std::uint64_t m_size = 0;
};

}  // namespace

Source sourceOf(const std::string& file)
{
    if (file == standardStream) {
        static const Spool spool(static_cast<std::uint64_t>(transfer().spoolMebibytes) << 20);
        return spool.source();
    }
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status))
        throw Failure(file, "no such file");
    if (fs::is_directory(status))
        throw Failure(file, "is a directory");
    if (!fs::is_regular_file(status))
        throw Failure(file, "is not a regular file; - reads the standard input");
    errno = 0;
    if (!std::ifstream(file))
        throw Failure(file, "cannot be opened: " + textOf(errno));
    const std::uintmax_t size = fs::file_size(file, error);
    if (error)
        throw Failure(file, "cannot be read: " + error.message());
    return {file, file, size};
}

}  // namespace ko::tool
