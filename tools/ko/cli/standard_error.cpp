#include "cli/standard_error.h"

#include <cerrno>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace ko::tool {
namespace {

std::mutex quietMutex;
int quietCount = 0;

/// Where the standard error went at first; negative where it is closed. Its number must not be that of a standard stream
/// that is closed, or what is printed there would come out here.
const int realError = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);

}  // namespace

void writeError(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(realError, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return;
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

Quiet::Quiet()
{
    const std::lock_guard lock(quietMutex);
    if (quietCount++ > 0 || realError < 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

Quiet::~Quiet()
{
    const std::lock_guard lock(quietMutex);
    if (--quietCount == 0 && realError >= 0)
        dup2(realError, STDERR_FILENO);
}

}  // namespace ko::tool
