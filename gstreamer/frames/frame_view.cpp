#include "frames/frame_view.h"

namespace ko::gst {

FrameView::FrameView(GstBuffer* buffer, const SxImageInfo& info, GstMapFlags flags)
    : m_buffer(buffer), m_isMapped(gst_buffer_map(buffer, &m_map, flags))
{
    const auto place = m_isMapped ? placeOf(buffer, info, m_map.size) : std::nullopt;
    if (!place)
        return;
    static_cast<SxImageInfo&>(m_image) = info;
    m_image.stride = place->stride;
    m_image.data = m_map.data + place->offset;
    m_bytes = m_map.size - place->offset;
}

FrameView::~FrameView()
{
    if (m_isMapped)
        gst_buffer_unmap(m_buffer, &m_map);
}

}  // namespace ko::gst
