// An open camera that has been set up and streams.
#pragma once

#include "camera_settings.h"
#include "stream_frame.h"

#include <ko/camera.h>

#include <atomic>
#include <memory>
#include <vector>

namespace ko {

/// Why something could not be done, in one line.
struct CameraError {
    QString text;
};

/// The calls of Aravis for one control of a camera.
struct ControlCalls;

/// A value that travels with each frame.
struct CameraChunk {
    enum Kind { Integer, Float, Boolean, Text };
    QByteArray feature;
    QString key;  ///< in the metadata
    Kind kind;
};

/// An open camera. Its operations throw `CameraError`, and are called by one thread at a time; those of `buffers`
/// by any.
class CameraConnection {
public:
    /// Opens the camera and sets it up as the settings say.
    /// @param queued  buffers besides those of the settings
    CameraConnection(const CameraSettings& settings, int queued, std::shared_ptr<CameraCounts> counts);

    /// Gives the camera back, which takes ten seconds where it does not answer: see `giveBack`.
    ~CameraConnection();

    const SxCameraInfo& info() const { return m_info; }
    const std::shared_ptr<StreamBuffers>& buffers() const { return m_buffers; }

    void startAcquisition();

    /// False where the camera is lost: it does not answer, and is not asked.
    bool stopAcquisition();
    void trigger();
    void setExposure(double microseconds);
    void setGain(double decibels);
    SxCameraControl exposure();
    SxCameraControl gain();

    /// Whether the camera still answers. Asks it only where `ask` is set, which takes seconds when it does not.
    bool isAlive(bool ask);

    /// Adds what a frame carries besides its pixels.
    void readChunks(ArvBuffer* buffer, CxMetadata& metadata) const;

private:
    void open(const QString& name);
    void identify();
    void configure(const CameraSettings& settings);
    void setPixelFormat(const QString& name);
    void setRegion(const QRect& region);
    void setTrigger(const QString& source);
    void setFrameRate(double framesPerSecond);
    void setChunks(const QStringList& names);
    void createStream(const CameraSettings& settings, int queued, std::shared_ptr<CameraCounts> counts);
    QStringList supportedFormats() const;

    /// Not available where the camera does not answer; it counts as lost then.
    SxCameraControl ask(const ControlCalls& calls, GErrorSlot& error);
    void change(const ControlCalls& calls, double value);

    /// Throws what a call has answered, after what was to be done. A camera without an answer counts as lost.
    void check(const GErrorSlot& error, const QString& purpose);
    [[noreturn]] void fail(const QString& text) const;

    /// Where a camera is known not to answer, to ask it again would only hold up whoever waits for it.
    void failIfLost() const;

    static void onControlLost(ArvDevice* device, gpointer isLost);

    QString m_name;  ///< for messages
    GObjectPointer<ArvCamera> m_camera;
    GObjectPointer<ArvChunkParser> m_parser;
    std::vector<CameraChunk> m_chunks;
    std::shared_ptr<StreamBuffers> m_buffers;
    SxCameraInfo m_info;
    std::atomic<bool> m_isLost{false};
    gulong m_handler = 0;
};

}  // namespace ko
