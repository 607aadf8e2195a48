// Images for tests: any type, packing, stride and address, with guard bytes around and inside.
#pragma once

#include "base/image_view.h"

#include <ko/image.h>

#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace ko::test {

struct Layout {
    int width = 4;
    int height = 3;
    int channels = 1;
    ExImageDataType type = UInt8;
    ExPixelPacking packing = Interleaved;
    int bits = 0;          ///< 0: all bits of the container
    int padding = 5;       ///< bytes behind each row
    int misalignment = 1;  ///< bytes from an aligned address to the first row
};

/// An image over memory of its own. Guard bytes surround the pixels and fill the row padding; the memory ends
/// right behind the guards, so that AddressSanitizer sees what the guards do not.
class TestImage {
public:
    explicit TestImage(const Layout& layout);
    TestImage(const TestImage&) = delete;
    TestImage& operator=(const TestImage&) = delete;

    SxImageBuf& buf() { return m_buf; }
    const SxImageBuf& buf() const { return m_buf; }
    operator SxImageBuf&() { return m_buf; }
    operator const SxImageBuf&() const { return m_buf; }
    SxImageBuf* operator->() { return &m_buf; }

    /// Address of a sample by the layout the image was made with, whatever the record says by now.
    std::uint8_t* sample(int x, int y, int channel = 0);
    const std::uint8_t* sample(int x, int y, int channel = 0) const;

    template <class T>
    T get(int x, int y, int channel = 0) const
    {
        return loadSample<T>(sample(x, y, channel), 0);
    }
    template <class T>
    void set(int x, int y, int channel, T value)
    {
        storeSample<T>(sample(x, y, channel), 0, value);
    }
    template <class T>
    void set(int x, int y, T value)
    {
        set<T>(x, y, 0, value);
    }
    /// All samples in raster order, channel by channel within a pixel.
    template <class T>
    void setAll(std::initializer_list<T> values)
    {
        auto value = values.begin();
        forEachSample([&](int x, int y, int c) {
            if (value != values.end())
                set<T>(x, y, c, *value++);
        });
    }
    template <class T>
    std::vector<T> all() const
    {
        std::vector<T> values;
        forEachSample([&](int x, int y, int c) { values.push_back(get<T>(x, y, c)); });
        return values;
    }

    /// Every byte of every sample random; integer samples are cut to the image's bits.
    void fillRandom(std::uint32_t seed);
    /// Samples from a few values only, zeros and extremes among them.
    void fillSparse(std::uint32_t seed);
    void fillBytes(std::uint8_t byte);

    /// Nothing outside the samples was written.
    bool guardsIntact() const;
    /// Copy of all memory, guards and padding included, to compare with later.
    std::vector<std::uint8_t> bytes() const { return m_memory; }

    template <class Visit>
    void forEachSample(Visit&& visit) const
    {
        for (int y = 0; y < m_layout.height; ++y)
            for (int x = 0; x < m_layout.width; ++x)
                for (int c = 0; c < m_layout.channels; ++c)
                    visit(x, y, c);
    }

private:
    Layout m_layout;
    std::vector<std::uint8_t> m_memory;
    std::vector<bool> m_isSample;
    SxImageBuf m_buf;
};

/// Every type an operation may implement, and those none does.
inline constexpr ExImageDataType allTypes[] = {Int8,   UInt8,   Int16,   UInt16, Int32,
                                               UInt32, Float32, Float64, Int64,  UInt64};
inline constexpr int notTypes[] = {0, 9, 12, -1};

inline ExImageDataType typeCode(int code)
{
    return static_cast<ExImageDataType>(code);
}

}  // namespace ko::test
