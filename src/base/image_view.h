// Row addressing with 64-bit offsets, and single samples at any address.
#pragma once

#include <ko/image.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ko {

/// The byte type with the constness of `Image`.
template <class Image>
using ByteOf = std::conditional_t<std::is_const_v<Image>, const std::uint8_t, std::uint8_t>;

/// First byte of row `y`; a const image gives read access only.
template <class Image>
ByteOf<Image>* rowOf(Image& image, std::int64_t y) noexcept
{
    return image.data + y * image.stride;
}

/// First byte of row `y` of plane `plane` of a planar image.
template <class Image>
ByteOf<Image>* planeRowOf(Image& image, std::int64_t plane, std::int64_t y) noexcept
{
    return image.data + (plane * image.height + y) * image.stride;
}

/// One plane of a planar image as an image of its own over the same memory; never to be freed.
inline SxImageBuf planeView(const SxImageBuf& image, int plane) noexcept
{
    SxImageBuf view = image;
    view.channels = 1;
    view.data = image.data + std::int64_t{plane} * image.height * image.stride;
    return view;
}

/// Sample `index` of a row. Rows may start at odd addresses, so no typed pointer is ever dereferenced.
template <class T>
inline T loadSample(const std::uint8_t* row, std::int64_t index) noexcept
{
    T sample;
    std::memcpy(&sample, row + index * static_cast<std::int64_t>(sizeof(T)), sizeof(T));
    return sample;
}

template <class T>
inline void storeSample(std::uint8_t* row, std::int64_t index, T sample) noexcept
{
    std::memcpy(row + index * static_cast<std::int64_t>(sizeof(T)), &sample, sizeof(T));
}

/// The bytes of a sample, for row functions that serve several types.
template <class T>
const std::uint8_t* bytesOf(const T& sample) noexcept
{
    return reinterpret_cast<const std::uint8_t*>(&sample);
}

}  // namespace ko
