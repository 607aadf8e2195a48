// Cameras that do not answer are given back beside everything else: Aravis asks them four times, for 2.5 seconds each.
#pragma once

#include "connection.h"

#include <chrono>
#include <memory>

namespace ko {

/// Ends a connection, which may be null. That of a camera that is lost ends after the call, on a thread of its own.
void giveBack(std::unique_ptr<CameraConnection> camera);

/// Waits until no camera of this name is being given back: what Aravis tells it at last would end a connection that has
/// been made meanwhile. False where that takes longer.
/// @param name  as in the settings; empty: any
bool waitUntilGivenBack(const QString& name, std::chrono::milliseconds time);

}  // namespace ko
