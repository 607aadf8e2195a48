// Memory of images that GStreamer's elements write into and frames take over.
#pragma once

#include "frames/formats.h"

#include <ko/pipeline/data.h>

#include <memory>

namespace ko::gst {

/// Answers a question for memory: proposes a pool of buffers for frames of a format, each over the memory of one image
/// from `AllocBuffer`.
/// @param kept  buffers that are in use at a time
void proposeImages(GstQuery* query, GstCaps* caps, const SxImageInfo& info, unsigned kept);

/// A frame over a buffer of such a pool. The buffer goes back when the frame is destroyed, and gets new memory where the
/// record has been taken out of the frame or freed. Null for any other buffer and for
/// one that somebody else uses too.
std::unique_ptr<CxImageData> frameOver(GstBuffer* buffer, const FrameFormat& format);

}  // namespace ko::gst
