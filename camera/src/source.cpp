#include "acquisition.h"

#include <QDebug>

namespace ko {

namespace {

/// Room for a short delay of the consumers; older pictures are of little use in a live view.
constexpr int queuedFrames = 4;

}  // namespace

struct CxAravisSource::Impl {
    Impl(Acquisition::Target target) : acquisition(std::move(target), counts) {}

    CameraSettings settings;  ///< guarded by the item's m_mutex
    const std::shared_ptr<CameraCounts> counts = std::make_shared<CameraCounts>();
    Acquisition acquisition;
};

CxAravisSource::CxAravisSource()
    : IxDataProcessor(FlagNoInput),
      m_impl(std::make_unique<Impl>(Acquisition::Target{
          [this] { return isStarted(); },
          [this] {
              return queuePolicy() != QueueBlocks ||
                     statistics().waiting < static_cast<std::uint64_t>(queueCapacity());
          },
          [this](std::unique_ptr<CxImageData> frame) { onDataAvailable(frame.release(), nullptr); },
          [this](const QString& text) { qWarning().noquote() << name() + ": " + text; }}))
{
    setQueue(queuedFrames, QueueDropsOldest);
}

CxAravisSource::~CxAravisSource()
{
    retire();
    // Where the worker could not be started, nobody else has ended it.
    m_impl->acquisition.stop();
}

bool CxAravisSource::loadSettings(const QVariantMap& map)
{
    CameraSettings wanted;
    {
        const QMutexLocker lock(&m_mutex);
        wanted = m_impl->settings;
    }
    // The common settings say whether the item is stopped.
    if (!wanted.read(map) || !IxDataProcessor::loadSettings(map))
        return false;
    const QMutexLocker lock(&m_mutex);
    m_impl->settings = wanted;
    return true;
}

QVariantMap CxAravisSource::saveSettings() const
{
    QVariantMap map = IxDataProcessor::saveSettings();
    const QMutexLocker lock(&m_mutex);
    m_impl->settings.write(map);
    return map;
}

bool CxAravisSource::setExposure(double microseconds)
{
    if (!m_impl->acquisition.visit([=](CameraConnection& camera, CameraSettings& inUse) {
            camera.setExposure(microseconds);
            inUse.exposure = microseconds;
        }))
        return false;
    const QMutexLocker lock(&m_mutex);
    m_impl->settings.exposure = microseconds;
    return true;
}

bool CxAravisSource::setGain(double decibels)
{
    if (!m_impl->acquisition.visit([=](CameraConnection& camera, CameraSettings& inUse) {
            camera.setGain(decibels);
            inUse.gain = decibels;
        }))
        return false;
    const QMutexLocker lock(&m_mutex);
    m_impl->settings.gain = decibels;
    return true;
}

SxCameraControl CxAravisSource::exposure() const
{
    SxCameraControl control;
    m_impl->acquisition.visit(
        [&](CameraConnection& camera, CameraSettings&) { control = camera.exposure(); });
    return control;
}

SxCameraControl CxAravisSource::gain() const
{
    SxCameraControl control;
    m_impl->acquisition.visit([&](CameraConnection& camera, CameraSettings&) { control = camera.gain(); });
    return control;
}

bool CxAravisSource::trigger()
{
    return m_impl->acquisition.visit([](CameraConnection& camera, CameraSettings&) { camera.trigger(); });
}

SxCameraInfo CxAravisSource::cameraInfo() const
{
    return m_impl->acquisition.info();
}

bool CxAravisSource::isConnected() const
{
    return m_impl->acquisition.isConnected();
}

QString CxAravisSource::errorText() const
{
    return m_impl->acquisition.errorText();
}

SxCameraStatistics CxAravisSource::cameraStatistics() const
{
    const SxPipeStatistics queue = statistics();
    const CameraCounts& counts = *m_impl->counts;
    SxCameraStatistics all;
    all.received = counts.received;
    all.delivered = queue.processed;
    all.dropped = queue.dropped + queue.failed + counts.dropped;
    all.incomplete = counts.incomplete;
    all.lost = counts.lost;
    all.underruns = counts.underruns;
    all.copies = counts.copies;
    all.replaced = counts.replaced;
    all.reconnections = counts.reconnections;
    return all;
}

bool CxAravisSource::setupStart()
{
    CameraSettings settings;
    {
        const QMutexLocker lock(&m_mutex);
        settings = m_impl->settings;
    }
    try {
        m_impl->acquisition.start(settings, queueCapacity());
        return true;
    } catch (const CameraError& error) {
        qWarning().noquote() << name() + ": " + error.text;
        return false;
    }
}

void CxAravisSource::setupStop()
{
    m_impl->acquisition.stop();
}

bool CxAravisSource::processData(IxData* input, IxData*& output)
{
    auto* const frame = dynamic_cast<StreamFrame*>(input);
    if (frame == nullptr || !frame->isPacked())
        return IxDataProcessor::processData(input, output);
    std::unique_ptr<CxImageData> copy = frame->unpacked();
    if (!copy)
        return false;
    ++m_impl->counts->copies;
    output = copy.release();
    delete input;
    return true;
}

}  // namespace ko
