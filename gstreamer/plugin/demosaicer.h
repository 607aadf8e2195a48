// Mosaics to colour pictures of the formats of video/x-raw.
#pragma once

#include "frames/formats.h"

#include <ko/cpp/buffers.h>
#include <ko/cpp/image.h>

#include <cstddef>

namespace ko::gst {

enum class DemosaicMethod { Linear, Malvar, Menon };

/// Turns frames of one format into pictures of one format.
class Demosaicer {
public:
    /// Makes the work buffers. Throws `Error` where memory runs out.
    /// @param isReversed  the first channel of pictures is blue
    Demosaicer(const FrameFormat& input, bool isReversed);

    /// @param frame  of the input's format
    /// @param bytes  of the memory from the frame's first row on
    /// @param picture  4 channels, or 3 of bytes; `UInt16` for inputs of more than 8 bits, whose levels are spread over
    ///                 all 16 bits
    void make(const SxImageBuf& frame, std::size_t bytes, SxImageBuf& picture, DemosaicMethod method);

private:
    /// A frame of 16 bits of one with fewer.
    void spread(const SxImageBuf& frame, std::size_t bytes);

    FrameFormat m_input;
    bool m_isReversed;
    Image m_spread;
    DemosaicCentredBuffer m_buffer;
};

}  // namespace ko::gst
