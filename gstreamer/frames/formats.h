// What the caps and buffers of GStreamer say of the frames in them.
#pragma once

#include <ko/image.h>

#include <gst/gst.h>

#include <cstddef>
#include <optional>

namespace ko::gst {

/// The formats of `video/x-bayer`, as a list in caps. GStreamer knows those of more than 8 bits from version 1.24 on.
#define KO_GST_BAYER_WORDS(end)                                                                              \
    "bggr10" end ", gbrg10" end ", grbg10" end ", rggb10" end ", bggr12" end ", gbrg12" end ", grbg12" end   \
    ", rggb12" end ", bggr14" end ", gbrg14" end ", grbg14" end ", rggb14" end ", bggr16" end ", gbrg16" end \
    ", grbg16" end ", rggb16" end
#define KO_GST_BAYER_BYTES "bggr, gbrg, grbg, rggb"
#define KO_GST_BAYER_DEEP_FORMATS "{ " KO_GST_BAYER_WORDS("le") ", " KO_GST_BAYER_WORDS("be") " }"
#define KO_GST_BAYER_FORMATS                                                                                 \
    "{ " KO_GST_BAYER_BYTES ", " KO_GST_BAYER_WORDS("le") ", " KO_GST_BAYER_WORDS("be") " }"

/// Those whose samples lie as this machine's do.
#define KO_GST_BAYER_NATIVE_FORMATS "{ " KO_GST_BAYER_BYTES ", " KO_GST_BAYER_WORDS("le") " }"

/// The formats of `video/x-raw` whose samples lie as an image record's do.
#define KO_GST_RAW_FORMATS "{ GRAY8, GRAY16_LE, RGB, RGBx, RGBA, RGBA64_LE }"

/// Format of the frames of a stream.
struct FrameFormat {
    SxImageInfo info;          ///< with the stride of buffers that do not tell their own
    bool isBigEndian = false;  ///< samples of two bytes have the upper one first
};

/// The format that fixed caps describe; none where they are not of the formats above or no record can describe them.
std::optional<FrameFormat> frameFormat(const GstCaps* caps);

/// Bytes of a row's samples, without what fills it up.
std::int64_t rowBytesOf(const SxImageInfo& info);

/// Where the samples of a frame lie in its buffer.
struct FramePlace {
    std::size_t offset = 0;
    std::int32_t stride = 0;
};

/// Finds the frame in a buffer of `bytes` bytes: as the buffer's video meta says, and its crop meta where a part of a
/// larger frame is meant; without one, with rows filled up to multiples of 4 bytes, or with rows that follow each other
/// where the buffer is too short for that. None where it is shorter still.
std::optional<FramePlace> placeOf(GstBuffer* buffer, const SxImageInfo& info, std::size_t bytes);

}  // namespace ko::gst
