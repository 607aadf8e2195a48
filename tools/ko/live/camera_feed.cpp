// GenICam cameras.
#include "cli/failure.h"
#include "live/feed.h"

#include <ko/camera.h>

#include <QVariantMap>

namespace ko::tool {
namespace {

Control controlOf(const SxCameraControl& control)
{
    return {control.isAvailable, control.value, control.minimum, control.maximum};
}

QVariantMap settingsOf(const LiveOptions& options)
{
    // A mosaic that waits for the disk keeps its buffer of the stream.
    constexpr int usualBuffers = 8;
    QVariantMap settings{{"camera", QString::fromStdString(options.source)},
                         {"buffers", usualBuffers + (options.isRaw ? std::min(options.queue, 900) : 0)}};
    if (!options.format.empty())
        settings.insert("pixelFormat", QString::fromStdString(options.format));
    if (!options.region.isNull())
        settings.insert("region", QVariantList{options.region.x(), options.region.y(), options.region.width(),
                                               options.region.height()});
    for (const auto& [name, value] :
         {std::pair{"frameRate", options.rate}, {"exposure", options.exposure}, {"gain", options.gain}})
        if (value)
            settings.insert(name, *value);
    return settings;
}

class CameraFeed : public Feed {
public:
    explicit CameraFeed(const LiveOptions& options) : m_name(options.source)
    {
        if (!m_source.loadSettings(settingsOf(options)))
            throw UsageError("the camera cannot be told such settings");
    }

    IxPipeItem& item() override { return m_source; }

    std::string name() const override
    {
        const SxCameraInfo info = m_source.cameraInfo();
        return info.id.isEmpty() ? m_name.empty() ? "camera" : m_name : info.id.toStdString();
    }

    bool hasEnded() const override { return false; }
    std::string trouble() const override { return m_source.errorText().toStdString(); }

    Losses losses() const override
    {
        const SxCameraStatistics counts = m_source.cameraStatistics();
        return {counts.dropped, counts.incomplete, counts.lost};
    }

    // A camera that has vanished would be waited for.
    Control exposure() const override
    {
        return m_source.isConnected() ? controlOf(m_source.exposure()) : Control();
    }
    Control gain() const override { return m_source.isConnected() ? controlOf(m_source.gain()) : Control(); }
    bool setExposure(double microseconds) override { return m_source.setExposure(microseconds); }
    bool setGain(double decibels) override { return m_source.setGain(decibels); }

private:
    CxAravisSource m_source;
    std::string m_name;
};

}  // namespace

std::unique_ptr<Feed> openCamera(const LiveOptions& options)
{
    return std::make_unique<CameraFeed>(options);
}

}  // namespace ko::tool
