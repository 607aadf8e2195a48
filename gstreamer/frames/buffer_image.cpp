#include "frames/buffer_image.h"

#include <ko/cpp/error.h>
#include <ko/raw.h>

namespace ko::gst {

namespace {

/// A buffer's memory as long as this object lives.
class Mapped {
public:
    explicit Mapped(GstBuffer* buffer)
        : m_buffer(buffer), m_isMapped(gst_buffer_map(buffer, &m_map, GST_MAP_READ))
    {
    }
    ~Mapped()
    {
        if (m_isMapped)
            gst_buffer_unmap(m_buffer, &m_map);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;

    explicit operator bool() const { return m_isMapped; }
    std::uint8_t* data() const { return m_map.data; }
    std::size_t bytes() const { return m_map.size; }

private:
    GstBuffer* const m_buffer;
    GstMapInfo m_map{};
    const bool m_isMapped;
};

void turnRound(const SxImageBuf& bigEndian, std::size_t bytes, Image& image)
{
    orThrow(UnpackSamples(bigEndian.data, bytes, static_cast<std::size_t>(bigEndian.stride), Mono16BigEndian,
                          image));
}

}  // namespace

Image copyOf(GstBuffer* buffer, const FrameFormat& format)
{
    const Mapped memory(buffer);
    const auto place = memory ? placeOf(buffer, format.info, memory.bytes()) : std::nullopt;
    if (!place)
        return {};
    SxImageBuf view;
    static_cast<SxImageInfo&>(view) = format.info;
    view.stride = place->stride;
    view.data = memory.data() + place->offset;
    Image image(format.info);
    if (format.isBigEndian)
        turnRound(view, memory.bytes() - place->offset, image);
    else
        orThrow(CopyBuffer(view, QRect(0, 0, view.width, view.height), image, QPoint(0, 0), true));
    return image;
}

}  // namespace ko::gst
