// Cameras to test with.
#pragma once

#include <ko/camera.h>

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace ko::test {

/// Gives the program a network of its own, in which there are no cameras but its own and their port is free.
/// False where the system does not allow it.
bool leaveNetwork();

/// Waits until a condition holds. False when it does not within the time.
bool waitFor(const std::function<bool()>& condition,
             std::chrono::milliseconds time = std::chrono::seconds(60));

/// Where the fake camera is.
inline const QString fakeAddress = QStringLiteral("127.0.0.1");

/// Settings for frames of 64 x 64 pixels, as many as the fake camera makes.
QVariantMap smallFrames();

/// `received` in the words of the other numbers, for a source that is stopped.
std::uint64_t accountedFor(const SxCameraStatistics& counts);

/// Aravis' fake camera in a process of its own. Frames of 8 bits show a ramp along the diagonals that moves with the frames.
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

/// A name of a pixel format and its code.
using PixelFormat = std::pair<std::string, std::uint32_t>;

/// Aravis' fake camera inside the program, at the same address. The test decides what its frames hold.
class FakeCamera {
public:
    /// Writes the next frame, on the camera's thread.
    using Fill = std::function<void(std::uint8_t* data, std::size_t bytes)>;

    /// @param formats  that it has besides its own
    explicit FakeCamera(Fill fill, const std::vector<PixelFormat>& formats = {});
    ~FakeCamera();
    FakeCamera(const FakeCamera&) = delete;
    FakeCamera& operator=(const FakeCamera&) = delete;

    /// With a description of its own instead, made of Aravis' by a function.
    FakeCamera(Fill fill, const std::function<void(std::string& description)>& describe);

    /// Sends a frame of its own making to whoever receives the stream: a first packet with what it holds, its data, a
    /// last packet. Only where the camera sends none itself, as while it waits for a trigger.
    void sendFrame(std::uint16_t frameId, std::uint16_t payloadType, int width, int height,
                   const std::vector<std::uint8_t>& data);

    /// Behind the back of whoever controls it.
    void writeRegister(std::uint32_t address, std::uint32_t value);

private:
    struct Camera;
    const std::unique_ptr<Camera> m_camera;
};

/// Whether the pixels are one picture of the fake camera and not parts of two.
bool isWholeRamp(const SxImageBuf& image);

}  // namespace ko::test
