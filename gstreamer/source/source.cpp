#include <ko/gstreamer.h>

#include "frames/buffer_image.h"
#include "source/image_memory.h"
#include "source/stream.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace ko {

namespace {

const QString descriptionKey = QStringLiteral("description");

}  // namespace

/// Everything that threads of GStreamer meet has a lock of its own here; the item's settings have theirs.
struct CxGstSource::Private : gst::FrameReceiver {
    explicit Private(CxGstSource& owner) : item(owner) {}

    void takeFrame(GstBuffer* buffer, const gst::FrameFormat& format) override;
    void endStream(const QString& error) override;
    unsigned buffersKept() const override { return keptBuffers; }

    /// Null for a buffer that is shorter than its format says.
    std::unique_ptr<CxImageData> frameOf(GstBuffer* buffer, const gst::FrameFormat& format);

    void begin();
    void leave();

    CxGstSource& item;
    QString description;  ///< guarded by the item's m_mutex

    mutable std::mutex statusMutex;
    mutable std::condition_variable statusChanged;
    bool isStreaming = false;
    bool hasEnded = false;
    QString errorText;

    std::atomic<std::uint64_t> received{0};
    std::atomic<std::uint64_t> unusable{0};
    std::atomic<std::uint64_t> copies{0};
    std::atomic<unsigned> keptBuffers{0};
    std::atomic<int> nextFrameNo{0};

    std::mutex streamMutex;
    std::unique_ptr<gst::Stream> stream;
};

std::unique_ptr<CxImageData> CxGstSource::Private::frameOf(GstBuffer* buffer, const gst::FrameFormat& format)
{
    std::unique_ptr<CxImageData> frame = gst::frameOver(buffer, format);
    if (frame != nullptr)
        return frame;
    Image image = gst::copyOf(buffer, format);
    if (!image)
        return nullptr;
    frame = std::make_unique<CxImageData>();
    frame->setImageShallow(image.release(), 0, 0, {});
    ++copies;
    return frame;
}

void CxGstSource::Private::takeFrame(GstBuffer* buffer, const gst::FrameFormat& format)
{
    ++received;
    const int frameNo = nextFrameNo++;
    std::unique_ptr<CxImageData> frame;
    try {
        frame = frameOf(buffer, format);
    } catch (const std::exception&) {
        // No memory: the frame is dropped.
    }
    if (frame == nullptr) {
        ++unusable;
        return;
    }
    const GstClockTime time = GST_BUFFER_PTS(buffer);
    frame->setImageShallow(frame->image(), frameNo, GST_CLOCK_TIME_IS_VALID(time) ? time : 0,
                           QDateTime::currentDateTime());
    item.onDataAvailable(frame.release(), nullptr);
}

void CxGstSource::Private::endStream(const QString& error)
{
    const std::lock_guard lock(statusMutex);
    // The first error is the cause, others follow from it.
    if (errorText.isEmpty())
        errorText = error;
    hasEnded = true;
    statusChanged.notify_all();
}

void CxGstSource::Private::begin()
{
    keptBuffers = static_cast<unsigned>(item.queueCapacity()) + 2;
    nextFrameNo = 0;
    const std::lock_guard lock(statusMutex);
    errorText.clear();
    hasEnded = false;
    isStreaming = true;
}

void CxGstSource::Private::leave()
{
    const std::lock_guard lock(statusMutex);
    isStreaming = false;
    statusChanged.notify_all();
}

CxGstSource::CxGstSource(const QString& description)
    : IxDataProcessor(FlagNoInput), m_private(std::make_unique<Private>(*this))
{
    m_private->description = description;
}

CxGstSource::~CxGstSource()
{
    retire();
}

QString CxGstSource::description() const
{
    const QMutexLocker lock(&m_mutex);
    return m_private->description;
}

bool CxGstSource::setDescription(const QString& description)
{
    const QMutexLocker lock(&m_mutex);
    if (state_noLock() == StateStarted)
        return false;
    m_private->description = description;
    return true;
}

QString CxGstSource::errorText() const
{
    const std::lock_guard lock(m_private->statusMutex);
    return m_private->errorText;
}

bool CxGstSource::hasEnded() const
{
    const std::lock_guard lock(m_private->statusMutex);
    return m_private->hasEnded;
}

bool CxGstSource::waitUntilEnded(int milliseconds) const
{
    std::unique_lock lock(m_private->statusMutex);
    const auto isOver = [this] { return m_private->hasEnded || !m_private->isStreaming; };
    if (milliseconds < 0)
        m_private->statusChanged.wait(lock, isOver);
    else
        m_private->statusChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), isOver);
    return m_private->hasEnded;
}

SxGstStatistics CxGstSource::gstStatistics() const
{
    // Frames move from the first count to the others, so these are read first.
    const SxPipeStatistics queue = statistics();
    SxGstStatistics counts;
    counts.delivered = queue.processed;
    counts.dropped = queue.dropped + queue.failed + m_private->unusable;
    counts.copies = m_private->copies;
    counts.received = m_private->received;
    return counts;
}

bool CxGstSource::setState(ExState state)
{
    if (!IxDataProcessor::setState(state))
        return false;
    if (state != StateStarted)
        return true;
    // Only now does the queue take frames. Where another thread has stopped the item again, there is no stream.
    bool isPlaying = true;
    {
        const std::lock_guard lock(m_private->streamMutex);
        if (m_private->stream)
            isPlaying = m_private->stream->play();
    }
    if (!isPlaying)
        IxDataProcessor::setState(StateStopped);
    return isPlaying;
}

bool CxGstSource::loadSettings(const QVariantMap& settings)
{
    const QVariant described = settings.value(descriptionKey, description());
    return described.canConvert<QString>() && IxDataProcessor::loadSettings(settings) &&
           setDescription(described.toString());
}

QVariantMap CxGstSource::saveSettings() const
{
    QVariantMap settings = IxDataProcessor::saveSettings();
    settings.insert(descriptionKey, description());
    return settings;
}

bool CxGstSource::setupStart()
{
    m_private->begin();
    std::unique_ptr<gst::Stream> stream = gst::Stream::open(description(), *m_private);
    const bool isOpen = stream != nullptr;
    {
        const std::lock_guard lock(m_private->streamMutex);
        m_private->stream.swap(stream);
    }
    if (!isOpen)
        m_private->leave();
    return isOpen;
}

void CxGstSource::setupStop()
{
    {
        const std::lock_guard lock(m_private->streamMutex);
        m_private->stream.reset();
    }
    m_private->leave();
}

}  // namespace ko
