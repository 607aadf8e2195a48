#include "frames/buffer_image.h"

#include "frames/frame_view.h"

#include <ko/cpp/error.h>
#include <ko/raw.h>

namespace ko::gst {

Image copyOf(GstBuffer* buffer, const FrameFormat& format)
{
    FrameView view(buffer, format.info, GST_MAP_READ);
    if (!view)
        return {};
    Image image(format.info);
    if (format.isBigEndian)
        turnRound(view.image(), view.bytes(), image);
    else
        orThrow(
            CopyBuffer(view.image(), QRect(0, 0, image->width, image->height), image, QPoint(0, 0), true));
    return image;
}

void turnRound(const SxImageBuf& bigEndian, std::size_t bytes, Image& frame)
{
    orThrow(UnpackSamples(bigEndian.data, bytes, static_cast<std::size_t>(bigEndian.stride), Mono16BigEndian,
                          frame));
}

}  // namespace ko::gst
