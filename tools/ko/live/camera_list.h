// ko cameras.
#pragma once

namespace ko::tool {

/// Prints the cameras that can be opened. Answers with the exit code.
int listCameras(bool asJson);

}  // namespace ko::tool
