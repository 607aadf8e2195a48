// Silence for libraries that write to the standard error on their own.
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace ko::tool {

/// While it lives, nothing reaches the standard error: libpng prints every fault of a file that OpenImageIO
/// reports as well, and the tool promises one line per failure.
class Quiet {
public:
    Quiet() : m_kept(dup(STDERR_FILENO))
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_kept >= 0 && nowhere >= 0)
            dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~Quiet()
    {
        if (m_kept >= 0)
            dup2(m_kept, STDERR_FILENO);
        close(m_kept);
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    int m_kept;
};

}  // namespace ko::tool
