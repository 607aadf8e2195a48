#include "live/feed.h"

#include "cli/failure.h"

namespace ko::tool {
namespace {

/// The elements of a description are joined by exclamation marks, which no camera has in its name.
bool isDescription(const std::string& source)
{
    return source.find('!') != std::string::npos;
}

std::unique_ptr<Feed> openDescribed([[maybe_unused]] const LiveOptions& options)
{
    if (options.exposure || options.gain || options.rate || !options.format.empty() ||
        !options.region.isNull())
        throw UsageError("a source of GStreamer is told all by its description: --exposure, --gain, --rate, "
                         "--pixel-format and --roi are for cameras");
#ifdef KO_HAS_GSTREAMER
    return openGstreamer(options);
#else
    throw std::runtime_error("this ko has been built without GStreamer");
#endif
}

}  // namespace

std::unique_ptr<Feed> openFeed(const LiveOptions& options)
{
    if (isDescription(options.source))
        return openDescribed(options);
#ifdef KO_HAS_CAMERA
    return openCamera(options);
#else
    throw std::runtime_error("this ko has been built without cameras; it takes sources of GStreamer");
#endif
}

}  // namespace ko::tool
