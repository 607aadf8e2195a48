// JPEG files in memory.
#pragma once

#include "io/image.h"

#include <memory>
#include <vector>

namespace ko::tool {

using Bytes = std::vector<unsigned char>;

/// Encodes pictures of one or three channels of 8 bits. One thread at a time uses it.
class JpegEncoder {
public:
    JpegEncoder();
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    /// A small file, for what moves, or one with every pixel's colour, to be looked at closely.
    enum Detail { Moving, Close };
    Bytes encode(const Image& picture, Detail wanted);

private:
    void* const m_handle;
    Bytes m_buffer;
};

}  // namespace ko::tool
