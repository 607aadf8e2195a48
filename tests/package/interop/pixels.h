// Images over memory that a test can spoil.
#pragma once

#include <ko/image.h>

#include <cstdint>
#include <vector>

namespace ko::test {

/// An image with padding behind its rows, over aligned memory that counts up from 0.
class Pixels {
public:
    Pixels(int width, int height, int channels, ExImageDataType type, int padding = 8)
    {
        view.width = width;
        view.height = height;
        view.channels = channels;
        view.dataType = type;
        view.bitsPerSample = 8 * bytesPerSample(type);
        view.stride = width * channels * bytesPerSample(type) + padding;
        m_words.resize(imageByteSize(view) / sizeof(std::uint64_t) + 2);
        view.data = reinterpret_cast<std::uint8_t*>(m_words.data());
        for (std::size_t i = 0; i < m_words.size() * sizeof(std::uint64_t); ++i)
            view.data[i] = static_cast<std::uint8_t>(i);
    }

    template <class T>
    T& at(int x, int y, int channel = 0)
    {
        return reinterpret_cast<T*>(view.data + y * view.stride)[x * view.channels + channel];
    }

    SxImageBuf view;

private:
    std::vector<std::uint64_t> m_words;
};

}  // namespace ko::test
