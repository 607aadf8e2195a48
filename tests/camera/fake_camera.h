// Cameras to test with.
#pragma once

#include <ko/camera.h>

#include <chrono>
#include <functional>

#include <sys/types.h>

namespace ko::test {

/// Gives the program a network of its own, in which there are no cameras but its own and their port is free.
/// False where the system does not allow it.
bool leaveNetwork();

/// Waits until a condition holds. False when it does not within the time.
bool waitFor(const std::function<bool()>& condition,
             std::chrono::milliseconds time = std::chrono::seconds(20));

/// Where the fake camera is.
inline const QString fakeAddress = QStringLiteral("127.0.0.1");

/// Aravis' fake camera in a process of its own. It shows a ramp along the diagonals that moves with the frames.
class FakeCameraProcess {
public:
    /// @param lostPackets  of a thousand
    explicit FakeCameraProcess(int lostPackets = 0);
    ~FakeCameraProcess();
    FakeCameraProcess(const FakeCameraProcess&) = delete;
    FakeCameraProcess& operator=(const FakeCameraProcess&) = delete;

    /// Ends the process at once, as when a cable is pulled out.
    void kill();
    void restart();

    /// It exists and does not answer.
    void freeze();

private:
    int m_lostPackets;
    pid_t m_process = 0;
};

/// Whether the pixels are one picture of the fake camera and not parts of two.
bool isWholeRamp(const SxImageBuf& image);

}  // namespace ko::test
