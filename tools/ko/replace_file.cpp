#include "replace_file.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

// Plain memory, because a signal handler reads it.
std::array<char, 4096> pendingPath;
volatile std::sig_atomic_t isPending = 0;

extern "C" void removePendingFile(int signal)
{
    if (isPending)
        unlink(pendingPath.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void watchSignals()
{
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
        if (std::signal(signal, removePendingFile) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is a failed write like any other
}

/// A new file that is gone with the object unless it has got its final name.
class PendingFile {
public:
    explicit PendingFile(const fs::path& path)
    {
        static std::once_flag watching;
        std::call_once(watching, watchSignals);
        if (path.native().size() >= pendingPath.size())
            throw std::system_error(ENAMETOOLONG, std::generic_category());
        std::memcpy(pendingPath.data(), path.c_str(), path.native().size() + 1);
        unlink(pendingPath.data());
        isPending = 1;  // before there is a file, lest a signal comes between
        m_file = open(pendingPath.data(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (m_file < 0) {
            isPending = 0;
            ensure(false);
        }
    }
    ~PendingFile()
    {
        close(m_file);
        if (isPending)
            unlink(pendingPath.data());
        isPending = 0;
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    void write(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t written = ::write(m_file, bytes.data(), bytes.size());
            ensure(written > 0 || errno == EINTR);
            bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
        }
        ensure(fsync(m_file) == 0);
    }

    void moveTo(const fs::path& target)
    {
        ensure(std::rename(pendingPath.data(), target.c_str()) == 0);
        isPending = 0;
    }

private:
    static void ensure(bool done)
    {
        if (!done)
            throw std::system_error(errno, std::generic_category());
    }

    int m_file = -1;
};

}  // namespace

void replaceFile(const std::string& target, std::string_view bytes)
try {
    fs::path path(target);
    if (fs::is_symlink(fs::symlink_status(path)))
        path = fs::canonical(path);
    const fs::file_status status = fs::status(path);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw Failure(target, "cannot be written: not a regular file");
    PendingFile pending(path.parent_path() / (".ko-" + std::to_string(getpid())));
    pending.write(bytes);
    pending.moveTo(path);
} catch (const std::system_error& error) {
    throw Failure(target, "cannot be written: " + error.code().message());
}

}  // namespace ko::tool
