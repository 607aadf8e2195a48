// The thread that takes a camera's frames from its stream.
#pragma once

#include "connection.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace ko {

/// Runs a camera: takes its frames, and looks for it when it has vanished.
class Acquisition {
public:
    /// Where frames go, and how one finds out whether they may. Called on the acquisition's thread.
    struct Target {
        std::function<bool()> isReady;  ///< until then the camera is not started
        std::function<bool()> hasRoom;  ///< otherwise a frame is dropped
        std::function<void(std::unique_ptr<CxImageData>)> takeFrame;
        std::function<void(const QString& text)> tell;  ///< for the log
    };

    Acquisition(Target target, std::shared_ptr<CameraCounts> counts);
    ~Acquisition();

    /// Opens the camera on the calling thread, then runs it on its own. Throws `CameraError`.
    void start(const CameraSettings& settings, int queued);

    /// Ends the thread and gives the camera back; nothing where that has been done.
    void stop();

    /// Calls a function with the camera, while nobody else uses it. False when it is not connected and when the
    /// function throws a `CameraError`.
    bool visit(const std::function<void(CameraConnection&, CameraSettings&)>& function);

    bool isConnected() const { return m_isConnected; }
    SxCameraInfo info() const;
    QString errorText() const;

private:
    /// What is known of a connection's frames.
    struct Known {
        std::optional<std::uint64_t> frameId;  ///< the newest one
        std::set<std::uint32_t> missing;       ///< numbers before it that may still come
        std::optional<StreamImage> image;      ///< of the last one that was whole
    };

    void run();
    void takeFrames();
    bool reconnect();
    void handle(CameraConnection& camera, ArvBuffer* buffer, Known& known);
    void describe(StreamFrame& frame, const CameraConnection& camera, ArvBuffer* buffer,
                  std::uint32_t frameNo) const;
    std::optional<std::uint32_t> numberOf(ArvBuffer* buffer, Known& known);
    std::uint32_t numberAhead(std::uint64_t step, Known& known);
    void connectTo(std::unique_ptr<CameraConnection> camera);
    std::unique_ptr<CameraConnection> disconnect();
    void setError(const QString& text);

    /// False when the thread is to end.
    bool pause(std::chrono::milliseconds time);

    const Target m_target;
    const std::shared_ptr<CameraCounts> m_counts;
    int m_queued = 0;
    std::uint32_t m_frameNo = 0;          ///< of the newest frame, with more bits than a frame's number has
    std::uint64_t m_formerUnderruns = 0;  ///< of connections that have ended

    std::mutex m_cameraMutex;  ///< between calls of the camera; held for as long as it takes to answer
    std::unique_ptr<CameraConnection> m_camera;
    CameraSettings m_settings;

    mutable std::mutex m_stateMutex;
    std::condition_variable m_stopRequested;
    bool m_isStopping = false;
    SxCameraInfo m_info;
    QString m_errorText;

    std::atomic<bool> m_isConnected{false};
    std::thread m_thread;
};

}  // namespace ko
