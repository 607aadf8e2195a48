#include "io/replace_file.h"

#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/transfer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

// QSaveFile leaves its temporary file behind when a signal ends the program.

/// Name of a file that is being written, in plain memory because a signal handler reads it.
struct PendingName {
    std::array<char, 4096> path;
    volatile std::sig_atomic_t isPending;
    bool isTaken;  ///< by one writer, guarded by the mutex
};

std::array<PendingName, 64> pendingNames;
std::mutex namesMutex;
std::condition_variable nameIsFree;

void removePendingFiles()
{
    for (const PendingName& name : pendingNames)
        if (name.isPending)
            unlink(name.path.data());
}

PendingName& takeName()
{
    std::unique_lock lock(namesMutex);
    for (;; nameIsFree.wait(lock))
        for (PendingName& name : pendingNames)
            if (!std::exchange(name.isTaken, true))
                return name;
}

void giveBack(PendingName& name)
{
    const std::lock_guard lock(namesMutex);
    name.isTaken = false;
    nameIsFree.notify_one();
}

void watchSignals()
{
    beforeSignalEnds(removePendingFiles);
    std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is a failed write like any other
}

void ensure(bool done)
{
    if (!done)
        throw std::system_error(errno, std::generic_category());
}

void writeAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        ensure(written > 0 || errno == EINTR);
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

/// A new file that is gone with the object unless it has got its final name.
class PendingFile {
public:
    explicit PendingFile(const fs::path& directory) : m_name(takeName())
    {
        static std::once_flag watching;
        std::call_once(watching, watchSignals);
        try {
            open(directory /
                 (".ko-" + std::to_string(getpid()) + '-' + std::to_string(&m_name - pendingNames.data())));
        } catch (...) {
            giveBack(m_name);
            throw;
        }
    }
    ~PendingFile()
    {
        close(m_file);
        if (m_name.isPending)
            unlink(m_name.path.data());
        m_name.isPending = 0;
        giveBack(m_name);
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    void write(std::string_view bytes)
    {
        writeAll(m_file, bytes);
        ensure(fsync(m_file) == 0);
    }

    void moveTo(const fs::path& target)
    {
        ensure(std::rename(m_name.path.data(), target.c_str()) == 0);
        m_name.isPending = 0;
    }

private:
    void open(const fs::path& path)
    {
        if (path.native().size() >= m_name.path.size())
            throw std::system_error(ENAMETOOLONG, std::generic_category());
        std::memcpy(m_name.path.data(), path.c_str(), path.native().size() + 1);
        unlink(m_name.path.data());
        m_name.isPending = 1;  // before there is a file, lest a signal comes between
        m_file = ::open(m_name.path.data(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (m_file < 0) {
            m_name.isPending = 0;
            ensure(false);
        }
    }

    PendingName& m_name;
    int m_file = -1;
};

}  // namespace

void replaceFile(const std::string& target, std::string_view bytes)
try {
    if (target == standardStream)
        return writeAll(STDOUT_FILENO, bytes);
    fs::path path(target);
    if (fs::is_symlink(fs::symlink_status(path)))
        path = fs::canonical(path);
    const fs::file_status status = fs::status(path);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw Failure(target, "cannot be written: not a regular file");
    PendingFile pending(path.parent_path());
    pending.write(bytes);
    pending.moveTo(path);
} catch (const std::system_error& error) {
    throw Failure(nameOfOutput(target), "cannot be written: " + error.code().message());
}

}  // namespace ko::tool
