// Images in buffers.
#pragma once

#include "frames/formats.h"

#include <ko/cpp/image.h>

namespace ko::gst {

/// The frame in a buffer, in memory of its own and with samples in this machine's byte order. Empty where the buffer
/// cannot be mapped or is shorter than its format says. Throws `Error` where memory runs out.
Image copyOf(GstBuffer* buffer, const FrameFormat& format);

}  // namespace ko::gst
