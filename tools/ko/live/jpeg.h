// JPEG files in memory.
#pragma once

#include "io/image.h"

#include <string_view>
#include <vector>

namespace ko::tool {

/// Encodes pictures as `Shower` makes them. One thread at a time uses it.
class JpegEncoder {
public:
    JpegEncoder();
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    /// A small file, for what moves, or one with every pixel's colour, to be looked at closely.
    enum Detail { Moving, Close };

    /// The file is valid until the next one is made.
    std::string_view encode(const Image& picture, Detail wanted);

private:
    void* const m_handle;
    std::vector<unsigned char> m_buffer;
};

}  // namespace ko::tool
