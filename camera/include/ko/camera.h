// Live cameras: GigE Vision and USB3 Vision cameras (GenICam) as the first item of a pipe.
//
// The library is kocamera. Programs that use it link `ko::kocamera` (`find_package(koimproc COMPONENTS camera)`),
// or the pkg-config module `kocamera`.
//
//     CxAravisSource camera;
//     CxFrameSink sink([](CxImageData& frame) { show(frame.image()); });
//     camera.loadSettings({{"camera", "192.168.0.2"}, {"pixelFormat", "BayerRG12p"}});
//     camera.addSuccessor(&sink);
//     if (!StartPipe(camera))
//         complain(camera.errorText());
#pragma once

#include <ko/export.h>
#include <ko/pipeline.h>

#include <QString>
#include <QVariantMap>
#include <QVector>

#include <cstdint>
#include <memory>

namespace ko {

/// A camera that can be reached.
struct SxCameraInfo {
    QString id;        ///< unique among the cameras that are connected
    QString vendor;    ///< as the camera says
    QString model;     ///< as the camera says
    QString serial;    ///< as the camera says
    QString address;   ///< where it is connected, in the form of its protocol: an IP address for GigE Vision
    QString protocol;  ///< "GigEVision", "USB3Vision" or "Fake"
};

/// Looks for cameras at all interfaces, ordered by id. Takes about a second. May be called by several threads.
KO_EXPORT QVector<SxCameraInfo> ListCameras();

/// A value of a camera that can be changed while it runs, and what it may be.
struct SxCameraControl {
    double value = 0;          ///< as it is now
    double minimum = 0;        ///< the least that the camera takes
    double maximum = 0;        ///< the most that the camera takes
    bool isAvailable = false;  ///< the camera has it and answers; otherwise the numbers are 0
};

/// What became of a camera's frames since its source was made.
///
/// In a source that is stopped received = delivered + dropped + incomplete. In one that runs the frames that
/// wait in the queue and the one being worked on are in none of the three.
struct SxCameraStatistics {
    std::uint64_t received = 0;    ///< came out of the stream, complete or not
    std::uint64_t delivered = 0;   ///< left the source for its successors
    std::uint64_t dropped = 0;     ///< deleted: the queue was full, the source stopped or no memory was left
    std::uint64_t incomplete = 0;  ///< not passed on as data was missing
    std::uint64_t lost = 0;        ///< numbered by the camera and never received, underruns included
    std::uint64_t underruns = 0;   ///< found no free buffer: all were in the pipe
    std::uint64_t copies = 0;      ///< delivered in other memory than the stream's: packed formats
    std::uint64_t replaced = 0;    ///< buffers whose memory went with a record that was taken out
    std::uint64_t reconnections = 0;  ///< times that the camera was found again
};

/// A GenICam camera as the first item of a pipe.
///
/// **Frames** are mono, mosaics (`bayerGrid` is the camera's order of colours) or RGB, `UInt8` for 8 bits and
/// `UInt16` for more, their depth in `bitsPerSample`. `frameNo` counts from 0 at each start and leaves out the
/// numbers of frames that were lost. `timestamp` is the camera's clock in nanoseconds, the computer's for
/// cameras without one; the frame's date is the time of its arrival. The metadata hold
/// - "camera.id": the camera
/// - "camera.frameId": the number that the camera gave
/// - "camera.systemTimestamp": nanoseconds since 1970 at arrival
/// - "camera.offsetX", "camera.offsetY": place of the region on the sensor
/// - "camera.incomplete": true; only in frames with missing data
/// - "camera.chunk.NAME" for each name of the setting "chunks" that the frame carries
///
/// **Memory.** Frames are not copied, except to unpack packed formats. A frame keeps its stream buffer until it
/// is deleted; then the buffer goes back to the stream. Who takes the record out of a frame
/// (`std::exchange(frame.image(), SxImageBuf())`) owns its memory like any other and releases it with
/// `FreeBuffer`; the stream then gets new memory in its place. So no record ever refers to memory that a camera
/// writes. Frames and records may outlive the source.
///
/// **When the pipe is slower than the camera**, the item's queue decides. `QueueDropsOldest`, set at first with
/// room for 4 frames, deletes the frame that has waited longest. With `QueueBlocks` the newest is dropped, as a
/// camera cannot wait. Frames that are kept by successors reduce what the stream has left; when it has nothing
/// left, frames are lost, and `underruns` says that this is why.
///
/// **Settings** besides those of `IxPipeItem`, for `loadSettings` while stopped. What the camera does not have or
/// refuses keeps the source from starting; null and empty values leave the camera as it is.
/// - "camera": id, serial number or address; empty (at first): the first one found
/// - "pixelFormat": GenICam name, such as "Mono8" or "BayerRG12p"
/// - "region": list of x, y, width and height in pixels of the sensor
/// - "frameRate": frames per second
/// - "exposure": microseconds; "gain": decibels. Both turn off the camera's own control of the value.
/// - "trigger": "Software", or a line of the camera that starts each exposure; empty: it runs by itself
/// - "chunks": list of names of values that the camera is to send with every frame, such as "ExposureTime"
/// - "buffers": stream buffers besides those for the queue, 2...1000; 8 at first
/// - "incompleteFrames": whether frames with missing data are passed on, marked; false at first. They come late, after
///   frames that have overtaken them, and show what their memory held before where data is missing. Those whose
///   first data is missing are not passed on, as nothing is known of them.
/// - "packetResend": whether the camera is asked for missing data (GigE Vision); true at first
/// - "reconnect": whether a camera that has vanished is looked for until it is back; true at first
///
/// **Threads.** Every operation may be called from any thread at any time. Those that ask the camera wait for its
/// answer: some seconds when it has vanished. Such a camera is given back on a thread of the library, which takes up to
/// ten seconds: neither stopping nor destroying its source waits for that, but the next start does.
class KO_EXPORT CxAravisSource : public IxDataProcessor {
    Q_OBJECT

public:
    /// A stopped source for the first camera found.
    CxAravisSource();

    /// Gives the camera back.
    ~CxAravisSource() override;

    /// False, with nothing changed, while started and when a value is not of its kind. An unknown key is left
    /// alone.
    bool loadSettings(const QVariantMap& settings) override;

    /// What `loadSettings` takes, with exposure and gain as `setExposure` and `setGain` left them.
    QVariantMap saveSettings() const override;

    /// Changes the exposure time of the running camera.
    /// @param microseconds  within the bounds of `exposure`
    /// @returns false when the camera is not connected, has no such value or refuses it
    bool setExposure(double microseconds);

    /// Changes the gain of the running camera; as `setExposure`, in decibels or, for cameras that know no
    /// decibels, in units of their own.
    bool setGain(double decibels);

    SxCameraControl exposure() const;  ///< in microseconds; not available while stopped
    SxCameraControl gain() const;      ///< in decibels; not available while stopped

    /// Starts an exposure of a camera whose "trigger" is "Software". False when it is not connected or refuses.
    bool trigger();

    /// The camera that runs, after the start or the last reconnection; empty before the first start.
    SxCameraInfo cameraInfo() const;

    /// Whether the camera answers: false while stopped and while a camera that has vanished is looked for.
    bool isConnected() const;

    /// What became of the camera's frames.
    SxCameraStatistics cameraStatistics() const;

    /// One line that says why the source did not start or why it is not connected; otherwise empty.
    QString errorText() const;

protected:
    bool setupStart() override;
    void setupStop() override;
    bool processData(IxData* input, IxData*& output) override;

private:
    struct Impl;
    const std::unique_ptr<Impl> m_impl;
};

}  // namespace ko
