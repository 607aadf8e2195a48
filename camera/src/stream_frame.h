// Frames whose pixels lie in a buffer of the camera's stream.
#pragma once

#include "gobject.h"
#include "pixel_formats.h"

#include <ko/pipeline/data.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace ko {

/// What is counted where frames come and go; lives as long as the last frame.
struct CameraCounts {
    std::atomic<std::uint64_t> received{0};
    std::atomic<std::uint64_t> dropped{0};  ///< before they reached the queue
    std::atomic<std::uint64_t> incomplete{0};
    std::atomic<std::uint64_t> lost{0};
    std::atomic<std::uint64_t> underruns{0};
    std::atomic<std::uint64_t> copies{0};
    std::atomic<std::uint64_t> replaced{0};
    std::atomic<std::uint64_t> reconnections{0};
};

/// A stream and its buffers. Frames may come back when the stream is gone, as they would keep the camera
/// occupied if they kept the stream.
class StreamBuffers {
public:
    StreamBuffers(GObjectPointer<ArvStream> stream, std::size_t bytes, std::shared_ptr<CameraCounts> counts);

    /// Gives the stream buffers to write to. False when memory runs out.
    bool provide(int count);

    /// Ends the stream; buffers that come back from now on are freed.
    void close();

    /// The next buffer that has been written or given up; null when there was none for a moment.
    ArvBuffer* pop();

    /// Takes a buffer back. One whose memory has been taken out is replaced.
    void giveBack(ArvBuffer* buffer);

    std::uint64_t underruns() const;

private:
    ArvBuffer* newBuffer() const;

    std::mutex m_mutex;  ///< between `close` and `giveBack`
    GObjectPointer<ArvStream> m_stream;
    const std::size_t m_bytes;
    const std::shared_ptr<CameraCounts> m_counts;
};

/// The memory of a buffer, made by `AllocBuffer`. Nothing where it has been taken out.
SxImageBuf& memoryOf(ArvBuffer* buffer);

/// How an image lies in a buffer.
struct StreamImage {
    const CameraPixelFormat* format;
    int x;  ///< of the region on the sensor
    int y;
    int width;
    int height;
    std::size_t pitch;  ///< bytes from a row to the next
    std::size_t bytes;  ///< that were received
};

/// A frame over a buffer, which goes back to the stream when the frame is deleted.
///
/// The buffer's memory is that of an ordinary image, and the frame's record owns it like any other. So whoever
/// takes the record out has the memory for good, and the buffer gets new memory before the camera writes to it.
class StreamFrame final : public CxImageData {
public:
    /// Takes the buffer, whose memory holds such an image.
    StreamFrame(std::shared_ptr<StreamBuffers> home, ArvBuffer* buffer, const StreamImage& image);
    ~StreamFrame() override;

    const StreamImage& source() const { return m_source; }
    bool isPacked() const { return m_source.format->layout.has_value(); }

    /// A frame with the same image in words of 16 bits; null when memory runs out.
    std::unique_ptr<CxImageData> unpacked();

private:
    const std::shared_ptr<StreamBuffers> m_home;
    ArvBuffer* const m_buffer;
    const StreamImage m_source;
};

/// Finds the image in a buffer. False where data is missing, and where there is no image of a supported format that
/// fits into the memory.
bool imageIn(ArvBuffer* buffer, StreamImage& image);

}  // namespace ko
