// Sources of GStreamer.
#include "live/feed.h"

#include <ko/gstreamer.h>

namespace ko::tool {
namespace {

class GstreamerFeed : public Feed {
public:
    explicit GstreamerFeed(const LiveOptions& options) : m_source(QString::fromStdString(options.source))
    {
        if (options.drops)
            m_source.setQueue(m_source.queueCapacity(), QueueDropsOldest);
    }

    IxPipeItem& item() override { return m_source; }
    std::string name() const override { return m_source.description().toStdString(); }
    bool hasEnded() const override { return m_source.hasEnded(); }
    std::string trouble() const override { return m_source.errorText().toStdString(); }
    Losses losses() const override { return {m_source.gstStatistics().dropped}; }

private:
    CxGstSource m_source;
};

}  // namespace

std::unique_ptr<Feed> openGstreamer(const LiveOptions& options)
{
    return std::make_unique<GstreamerFeed>(options);
}

}  // namespace ko::tool
