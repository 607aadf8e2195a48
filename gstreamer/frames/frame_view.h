// The image in a mapped buffer.
#pragma once

#include "frames/formats.h"

namespace ko::gst {

/// Maps a buffer for as long as it lives.
class FrameView {
public:
    FrameView(GstBuffer* buffer, const SxImageInfo& info, GstMapFlags flags);
    ~FrameView();
    FrameView(const FrameView&) = delete;
    FrameView& operator=(const FrameView&) = delete;

    /// The buffer could be mapped, and is not shorter than its format says.
    explicit operator bool() const { return m_image.data != nullptr; }

    /// The frame, over the buffer's memory.
    SxImageBuf& image() { return m_image; }

    /// Bytes of the buffer from the frame's first row on.
    std::size_t bytes() const { return m_bytes; }

private:
    GstBuffer* const m_buffer;
    GstMapInfo m_map{};
    const bool m_isMapped;
    SxImageBuf m_image;
    std::size_t m_bytes = 0;
};

}  // namespace ko::gst
