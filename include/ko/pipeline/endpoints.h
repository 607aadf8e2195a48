// The ends of a pipe for programs: frames go in by a call and come out by one.
#pragma once

#include <ko/pipeline/processor.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace ko {

/// The first item of a pipe.
class KO_EXPORT CxFrameSource : public IxDataProcessor {
    Q_OBJECT

public:
    /// An item with `FlagNoInput`.
    CxFrameSource();
    ~CxFrameSource() override;

    /// Sends an image whose memory the pipe takes over, also when the frame is dropped. Frames are numbered
    /// from 0 on and stamped with the microseconds since the source was made. May wait; see `ExQueuePolicy`.
    /// False when the frame was dropped.
    bool push(const SxImageBuf& image);

    /// Sends a frame as it is.
    bool push(std::unique_ptr<CxImageData> frame);

private:
    const std::chrono::steady_clock::time_point m_made = std::chrono::steady_clock::now();
    std::atomic<int> m_nextFrameNo{0};
};

/// The last item of a pipe: calls a function with every frame that arrives, on its worker.
class KO_EXPORT CxFrameSink : public IxDataProcessor {
    Q_OBJECT

public:
    /// The frame is deleted when the function returns. To keep the pixels, take the record out of
    /// `frame.image()`. A function that throws counts the frame as failed.
    using Callback = std::function<void(CxImageData& frame)>;

    /// A sink without function cannot be started.
    explicit CxFrameSink(Callback callback);
    ~CxFrameSink() override;

    bool isValid() const override;
    bool acceptsData(const IxDataInfo* info) override;

protected:
    bool processData(IxData* input, IxData*& output) override;

private:
    const Callback m_callback;
};

}  // namespace ko
