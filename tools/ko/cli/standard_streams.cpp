#include "cli/standard_streams.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace ko::tool {

void holdStandardStreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF)
            continue;
        // It gets the lowest number that is free, which is this one.
        if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0)
            return;
    }
}

}  // namespace ko::tool
