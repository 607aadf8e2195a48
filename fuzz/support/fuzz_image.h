// Images from the bytes of an input: every type, packing, size, stride and address, and records that
// contradict themselves.
#pragma once

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/require.h"
#include "support/test_image.h"

#include <QPoint>
#include <QRect>

#include <memory>
#include <span>
#include <vector>

namespace ko::fuzz {

using test::Layout;

/// Types, and how many channels are tried for them.
struct Choice {
    std::initializer_list<ExImageDataType> types;
    std::initializer_list<int> channels = {1};
};

inline constexpr std::initializer_list<ExImageDataType> everyType = {
    UInt8, UInt16, Int8, Int16, Int32, UInt32, Float32, Float64, Int64, UInt64, Sample128};
inline constexpr std::initializer_list<int> everyChannels = {1, 3, 4, 2, 5};

/// A layout of at most some 2000 pixels.
Layout anyLayout(ByteReader& in, const Choice& choice);

/// The same, with at most 12 x 12 pixels in seven inputs of eight: for operations that think long about a pixel.
Layout smallLayout(ByteReader& in, const Choice& choice);

/// The same size and format with other padding, at another address.
Layout like(ByteReader& in, const Layout& layout);

/// The same size and packing of another format.
Layout like(ByteReader& in, const Layout& layout, ExImageDataType type, int channels, int bits = 0);

/// An image over exactly as much memory from the heap as its record claims.
///
/// One in eight has a record that contradicts its layout: no data, an unknown code, a stride shorter than the
/// row, a size that is negative or larger than any memory. Its memory is then what `imageByteSize` makes of
/// that record, or none where that is more than a fuzzer has.
class FuzzImage {
public:
    FuzzImage(ByteReader& in, const Layout& layout);
    FuzzImage(const FuzzImage&) = delete;
    FuzzImage& operator=(const FuzzImage&) = delete;

    SxImageBuf& buf() { return m_buf; }
    const SxImageBuf& buf() const { return m_buf; }
    operator SxImageBuf&() { return m_buf; }
    operator const SxImageBuf&() const { return m_buf; }
    SxImageBuf* operator->() { return &m_buf; }
    const SxImageBuf* operator->() const { return &m_buf; }

    const Layout& layout() const { return m_layout; }

    /// The record tells the truth about the layout.
    bool isSound() const { return m_isSound; }

    /// No byte has changed since the image was made.
    bool isUntouched() const;

    std::span<const std::uint8_t> memory() const { return {m_first, m_size}; }
    std::span<const std::uint8_t> memoryBefore() const { return m_before; }

private:
    void contradict(ByteReader& in);
    void allocate(int misalignment);
    void fill(ByteReader& in);
    void fillSamples(ByteReader& in);

    Layout m_layout;
    SxImageBuf m_buf;
    bool m_isSound = true;
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::uint8_t* m_first = nullptr;
    std::size_t m_size = 0;
    std::vector<std::uint8_t> m_before;
};

/// A copy of a sound image as it was when it was made, for the naive twins to work on.
class Twin : public test::TestImage {
public:
    explicit Twin(const FuzzImage& image);

    /// Every byte of the image, padding included, is as the twin left it.
    void requireEqual(const FuzzImage& image) const;
};

template <class... Images>
bool areSound(const Images&... images)
{
    return (images.isSound() && ...);
}

/// Elements of an array with one per channel or per position of a mosaic, as the record has them.
std::size_t resultsOf(const FuzzImage& image);

/// A rectangle: inside the layout, anywhere near it, or with corners at the ends of their range.
QRect anyRect(ByteReader& in, const Layout& layout);
QPoint anyPoint(ByteReader& in, const Layout& layout);

}  // namespace ko::fuzz
