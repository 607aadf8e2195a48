// The list of cameras, of which the process has one.
#pragma once

#include <ko/camera.h>

#include <mutex>

namespace ko {

/// Held by whoever reads the list or opens a camera by it.
std::mutex& deviceListMutex();

/// Whether a user who says this name means the camera.
bool isMeant(const SxCameraInfo& camera, const QString& name);

/// The list as it is, with `deviceListMutex` held.
QVector<SxCameraInfo> knownCameras();

}  // namespace ko
