// Images made of what lies in buffers.
#pragma once

#include "frames/formats.h"

#include <ko/cpp/image.h>

namespace ko::gst {

/// The frame in a buffer, in memory of its own and with samples in this machine's byte order. Empty where the buffer
/// cannot be mapped or is shorter than its format says. Throws `Error` where memory runs out.
Image copyOf(GstBuffer* buffer, const FrameFormat& format);

/// Puts the lower byte of each sample of a frame first.
/// @param bytes  of the memory from the frame's first row on
void turnRound(const SxImageBuf& bigEndian, std::size_t bytes, Image& frame);

}  // namespace ko::gst
