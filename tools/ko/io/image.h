// Images that the tool owns.
#pragma once

#include <ko/koimproc.h>

#include <cstdint>
#include <new>
#include <utility>

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

/// Owner of the pixel memory of an image; `*image` is its record.
class Image {
public:
    /// Allocates; the samples are undefined, the stride is chosen anew.
    explicit Image(SxImageInfo format)
    {
        format.stride = 0;
        if (isFailure(AllocBuffer(format, m_record, false)))
            throw std::bad_alloc();
    }
    /// Takes over the memory of a record that an operation has allocated.
    static Image owning(const SxImageBuf& record)
    {
        Image image;
        image.m_record = record;
        return image;
    }
    Image(Image&& other) noexcept : m_record(std::exchange(other.m_record, {})) {}
    Image& operator=(Image&& other) noexcept
    {
        std::swap(m_record, other.m_record);
        return *this;
    }
    ~Image() { FreeBuffer(m_record); }

    SxImageBuf& operator*() { return m_record; }
    const SxImageBuf& operator*() const { return m_record; }
    SxImageBuf* operator->() { return &m_record; }
    const SxImageBuf* operator->() const { return &m_record; }

private:
    Image() = default;

    SxImageBuf m_record;
};

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
