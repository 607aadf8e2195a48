// ko live.
#pragma once

#include "live/live_module.h"

namespace ko::tool {

/// Records and shows frames until the source ends, enough have been written, the disk is full or a signal asks for the
/// end. Answers with the exit code. Throws where it cannot begin.
int runLive(const LiveOptions& options);

}  // namespace ko::tool
