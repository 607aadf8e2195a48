// Frames from GStreamer: cameras of V4L2, files, the network, everything that it has a source for.
//
// The library is kogstreamer. Programs that use it link `ko::kogstreamer`
// (`find_package(koimproc COMPONENTS gstreamer)`), or the pkg-config module `kogstreamer`.
#pragma once

#include <ko/pipeline.h>

#include <cstdint>
#include <memory>

namespace ko {

/// What became of the frames of a stream since the source was made. At all times received = delivered + dropped +
/// those that wait in the source's queue or are about to.
struct SxGstStatistics {
    std::uint64_t received = 0;   ///< buffers that arrived
    std::uint64_t delivered = 0;  ///< frames handed to the successors
    std::uint64_t dropped =
        0;  ///< queue full, item stopped, buffer shorter than its format says, or no memory
    std::uint64_t copies = 0;  ///< frames whose pixels were copied out of the buffer
};

/// The first item of a pipe: runs a GStreamer pipeline and sends its frames.
///
///     CxGstSource source(QStringLiteral("v4l2src ! videoconvert"));
///     CxFrameSink sink([](CxImageData& frame) { show(frame.image()); });
///     source.addSuccessor(&sink);
///     if (!StartPipe(source))
///         qWarning().noquote() << source.errorText();
///
/// The description has the syntax of `gst-launch-1.0`; its open end is what the source takes frames of. It takes
/// `video/x-raw` of the formats GRAY8, GRAY16_LE, RGB, RGBx, RGBA and RGBA64_LE, and `video/x-bayer` of 8 bits and,
/// under the names of GStreamer 1.24 (rggb12le), of 10 to 16 bits. Most cameras and decoders deliver something else:
/// end the description with `! videoconvert`.
///
/// Frames come as fast as GStreamer delivers them: those of a camera when it takes them, those of a file as fast as
/// the pipe takes them, or with `! clocksync` at their own rate. When the source's queue is full, `queuePolicy` says
/// whether the stream waits or the oldest frame is dropped. Frames are numbered from 0 on with every start, their
/// timestamp is the buffer's in nanoseconds (0 where it has none), their date is that of their arrival.
///
/// The source offers the stream memory of its own, which videoconvert, decoders and many others take: their frames are
/// not copied. The memory of all others, such as that of cameras and of buffers that another branch of the stream uses
/// too, is copied and counted. A frame owns its pixels in both cases: its record may be taken out and freed like any
/// other.
///
/// A stream that fails or ends leaves the item started, as frames may still be on their way: see `hasEnded`. Every
/// start runs a new pipeline.
class KO_EXPORT CxGstSource : public IxDataProcessor {
    Q_OBJECT

public:
    /// An item with `FlagNoInput`. Nothing is opened before it starts.
    explicit CxGstSource(const QString& description = {});
    ~CxGstSource() override;

    /// As set last.
    QString description() const;

    /// Sets what to run with the next start. False while started.
    bool setDescription(const QString& description);

    /// One line that tells why the last start was refused or its stream failed; empty where neither happened.
    QString errorText() const;

    /// Since the last start the stream has come to its end or has failed; `errorText` tells which. Frames that have
    /// arrived before may still be on their way; `DrainPipe` waits for them.
    bool hasEnded() const;

    /// Waits until the stream has ended or the item stops; not to be called on a worker.
    /// @param milliseconds  negative: as long as it takes
    /// @returns `hasEnded()`
    bool waitUntilEnded(int milliseconds) const;

    /// What became of the frames so far. `statistics()` counts those that reached the queue.
    SxGstStatistics gstStatistics() const;

    /// Starting is refused, with an `errorText`, where the description does not parse, names an element that is not
    /// installed, or something in it cannot be opened. What can only be found out later, such as a format that
    /// nothing converts, ends the stream.
    bool setState(ExState state) override;

    /// Takes over "description" too.
    bool loadSettings(const QVariantMap& settings) override;
    QVariantMap saveSettings() const override;

protected:
    bool setupStart() override;
    void setupStop() override;

private:
    struct Private;
    const std::unique_ptr<Private> m_private;
};

}  // namespace ko
