// Images as the tool makes them.
#pragma once

#include <ko/cpp/image.h>
#include <ko/koimproc.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace ko::tool {

/// Format of a picture whose samples use all bits of their container.
inline SxImageInfo makeFormat(int width, int height, int channels, ExImageDataType type)
{
    SxImageInfo format;
    format.width = width;
    format.height = height;
    format.channels = channels;
    format.dataType = type;
    format.bitsPerSample = 8 * bytesPerSample(type);
    // Two channels, or more than four, are no colour picture.
    format.pixelFormat = channels == 2 || channels > 4 ? 0 : 1;
    return format;
}

/// Memory that the system does not give.
class OutOfMemory : public std::runtime_error {
public:
    explicit OutOfMemory(const SxImageInfo& format)
        : std::runtime_error("out of memory for a picture of " + std::to_string(format.width) + " x " +
                             std::to_string(format.height) + ", " +
                             std::to_string((std::uint64_t(format.width) * std::uint64_t(format.height) *
                                             std::uint64_t(format.channels) *
                                             std::uint64_t(bytesPerSample(format.dataType))) >>
                                            20) +
                             " MiB")
    {
    }
};

/// An image whose format comes from a file, so that its size may be anything.
inline Image allocated(const SxImageInfo& format)
try {
    return Image(format);
} catch (const Error&) {
    throw OutOfMemory(format);
}

/// Row `y` of an image that `Image` owns, whose rows are aligned for every type.
template <class T>
T* rowOf(Image& image, std::int64_t y)
{
    return reinterpret_cast<T*>(image->data + y * image->stride);
}

template <class T>
const T* rowOf(const Image& image, std::int64_t y)
{
    return reinterpret_cast<const T*>(image->data + y * image->stride);
}

inline std::int64_t pixelCount(const SxImageInfo& format)
{
    return std::int64_t{format.width} * format.height;
}

}  // namespace ko::tool
