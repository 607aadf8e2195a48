// Typed views of pixels.
#pragma once

#include <ko/cpp/error.h>
#include <ko/image.h>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <type_traits>
#if __cplusplus >= 202002L
#include <ranges>
#endif

namespace ko {

/// A sample of an image of `Sample128`.
struct Bytes128 {
    std::uint8_t bytes[16];  ///< without a meaning to the library
};

/// The sample type of images whose samples are `T`; nothing for other types.
template <class T>
inline constexpr ExImageDataType sampleTypeOf = static_cast<ExImageDataType>(0);
/// @cond one per type, each as the template says
template <>
inline constexpr ExImageDataType sampleTypeOf<std::int8_t> = Int8;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::uint8_t> = UInt8;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::int16_t> = Int16;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::uint16_t> = UInt16;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::int32_t> = Int32;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::uint32_t> = UInt32;
template <>
inline constexpr ExImageDataType sampleTypeOf<float> = Float32;
template <>
inline constexpr ExImageDataType sampleTypeOf<double> = Float64;
template <>
inline constexpr ExImageDataType sampleTypeOf<Bytes128> = Sample128;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::int64_t> = Int64;
template <>
inline constexpr ExImageDataType sampleTypeOf<std::uint64_t> = UInt64;
/// @endcond

/// The samples of one row, a contiguous range; in C++20 it converts to `std::span`. Debug builds check
/// indices.
template <class T>
class SampleRow {
public:
    /// `size` samples from `first` on.
    SampleRow(T* first, std::size_t size) noexcept : m_first(first), m_size(size) {}

    T* data() const noexcept { return m_first; }          ///< the first sample
    std::size_t size() const noexcept { return m_size; }  ///< how many there are
    bool empty() const noexcept { return m_size == 0; }   ///< whether there are none
    T* begin() const noexcept { return m_first; }         ///< the first sample
    T* end() const noexcept { return m_first + m_size; }  ///< behind the last one

    /// Sample `index`, 0...size() - 1.
    T& operator[](std::ptrdiff_t index) const noexcept
    {
        assert(index >= 0 && index < static_cast<std::ptrdiff_t>(m_size));
        return m_first[index];
    }

private:
    T* m_first;
    std::size_t m_size;
};

/// The pixels of an image as samples of `T`; those of `const T` can only be read. Owns nothing, and is valid
/// as long as the memory is. Copies see the same samples.
///
/// Rows of an interleaved image hold the samples of all channels, pixel by pixel. A planar image has `height`
/// rows per channel, plane by plane. A range-based `for` visits all of them:
///
///     for (const auto row : image.view<std::uint16_t>())
///         for (std::uint16_t& sample : row)
///             sample = 0;
///
/// A view goes wherever an operation takes an `SxImageBuf`; one of `const T` only where it is an input. What
/// it describes is its own: `view->bitsPerSample = 12` says so for this view and changes no other record.
template <class T>
class ImageView {
    static_assert(sampleTypeOf<std::remove_const_t<T>> != 0, "images have no samples of this type");
    using Record = std::conditional_t<std::is_const_v<T>, const SxImageBuf, SxImageBuf>;

public:
    /// Sees the pixels of a record. Throws `Error` for an absent image, for samples of another type, for rows
    /// longer than the stride and for rows that are not aligned for `T`.
    explicit ImageView(Record& image) : m_record(image)
    {
        require(m_record.data != nullptr, ResultBadArg1, "view of an absent image");
        require(m_record.dataType == sampleTypeOf<std::remove_const_t<T>>, ResultUnsupportedType,
                "view of samples of another type");
        require(m_record.width >= 0 && m_record.height >= 0 && m_record.channels >= 0 && rowsFitStride(),
                ResultBadArg1, "view of rows that are longer than the stride");
        const auto address = reinterpret_cast<std::uintptr_t>(m_record.data);
        const bool isAligned =
            address % alignof(T) == 0 &&
            (m_record.height < 2 || static_cast<std::size_t>(m_record.stride) % alignof(T) == 0);
        require(isAligned, ResultBadArg1, "view of rows that are not aligned for their samples");
        // No owner: FreeBuffer does nothing to a view.
        m_record.allocation = m_record.bookkeeping[0] = m_record.bookkeeping[1] = 0;
    }

    /// The same of a record made on the way, as the headers for Qt and OpenCV make them.
    explicit ImageView(SxImageBuf&& image) : ImageView(static_cast<Record&>(image)) {}

    /// Sees samples of the program's own as an interleaved image. `bits` of 0 means all bits of `T`; `stride`
    /// counts bytes, and 0 means rows without padding. Throws `Error` as the other form does.
    ImageView(T* samples, int width, int height, int channels = 1, int bits = 0, int stride = 0)
        : ImageView(recordOf(samples, width, height, channels, bits, stride))
    {
    }

    /// Samples that can be written can be read.
    template <class U, class = std::enable_if_t<std::is_same_v<const U, T> && !std::is_same_v<U, T>>>
    ImageView(const ImageView<U>& other) noexcept : m_record(static_cast<const SxImageBuf&>(other))
    {
    }

    int width() const noexcept { return m_record.width; }        ///< pixels per row
    int height() const noexcept { return m_record.height; }      ///< rows of a plane
    int channels() const noexcept { return m_record.channels; }  ///< samples per pixel

    /// Planes one after the other: the channels of a planar image, else 1.
    int planes() const noexcept { return m_record.packing == Interleaved ? 1 : m_record.channels; }

    /// Row `y` of plane `plane`.
    SampleRow<T> row(int y, int plane = 0) const noexcept
    {
        assert(y >= 0 && y < height() && plane >= 0 && plane < planes());
        return rowAt(std::int64_t{plane} * height() + y);
    }

    /// One sample.
    T& operator()(int x, int y, int channel = 0) const noexcept
    {
        assert(x >= 0 && x < width() && channel >= 0 && channel < channels());
        if (m_record.packing == Interleaved)
            return row(y)[std::ptrdiff_t{x} * channels() + channel];
        return row(y, channel)[x];
    }

    /// A rectangle of an interleaved or mono image, as an image of its own: a mosaic's arrangement follows
    /// its corner. Throws `Error` when it is not inside, and for planar colour, of which `plane` sees one.
    ImageView region(const QRect& part) const
    {
        require(planes() == 1, ResultUnsupportedType, "region of several planes");
        const std::int64_t columns = std::int64_t{part.right()} - part.left() + 1;
        const std::int64_t rows = std::int64_t{part.bottom()} - part.top() + 1;
        require(part.left() >= 0 && part.top() >= 0 && columns >= 0 && rows >= 0 &&
                    part.left() + columns <= width() && part.top() + rows <= height(),
                ResultBadArg1, "region that leaves the image");
        ImageView view(*this);
        view.m_record.data += std::int64_t{part.top()} * m_record.stride +
                              std::int64_t{part.left()} * channels() * std::int64_t{sizeof(T)};
        view.m_record.width = static_cast<std::int32_t>(columns);
        view.m_record.height = static_cast<std::int32_t>(rows);
        view.m_record.bayerGrid = gridFrom(part.left(), part.top());
        return view;
    }

    /// One channel of a planar or mono image, as an image of its own. Throws `Error` where there is none.
    ImageView plane(int channel) const
    {
        require(m_record.packing != Interleaved || channels() == 1, ResultUnsupportedType,
                "plane of interleaved colour");
        require(channel >= 0 && channel < channels(), ResultBadArg1, "plane that the image does not have");
        ImageView view(*this);
        view.m_record.data += std::int64_t{channel} * height() * m_record.stride;
        view.m_record.channels = 1;
        return view;
    }

    operator Record&() noexcept { return m_record; }                      ///< for operations
    operator const SxImageBuf&() const noexcept { return m_record; }      ///< for operations that only read
    SxImageInfo* operator->() noexcept { return &m_record; }              ///< the format
    const SxImageInfo* operator->() const noexcept { return &m_record; }  ///< the format

    /// Goes over the rows.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;  ///< rows are made on the way
        using value_type = SampleRow<T>;                    ///< a row
        using difference_type = std::ptrdiff_t;             ///< between rows
        using pointer = void;                               ///< there is none
        using reference = SampleRow<T>;                     ///< by value

        Iterator() noexcept = default;  ///< nowhere
        /// At a row of a view that stays alive.
        Iterator(const ImageView& view, std::int64_t row) noexcept : m_view(&view), m_row(row) {}

        SampleRow<T> operator*() const noexcept { return m_view->rowAt(m_row); }  ///< the row
        /// To the next row.
        Iterator& operator++() noexcept
        {
            ++m_row;
            return *this;
        }
        /// To the next row, and the place before.
        Iterator operator++(int) noexcept { return {*m_view, m_row++}; }
        bool operator==(const Iterator& other) const noexcept { return m_row == other.m_row; }  ///< same row
        bool operator!=(const Iterator& other) const noexcept
        {
            return m_row != other.m_row;
        }  ///< another row

    private:
        const ImageView* m_view = nullptr;
        std::int64_t m_row = 0;
    };

    Iterator begin() const noexcept { return {*this, 0}; }                                ///< the first row
    Iterator end() const noexcept { return {*this, std::int64_t{planes()} * height()}; }  ///< behind the last

private:
    static void require(bool holds, ResultCode code, const char* text)
    {
        if (!holds)
            throw Error(code, text);
    }

    static SxImageBuf recordOf(T* samples, int width, int height, int channels, int bits, int stride)
    {
        constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() / std::int64_t{sizeof(T)};
        const std::int64_t perRow = std::int64_t{width} * channels;
        require(stride != 0 || perRow <= most, ResultBadArg1, "view of rows that are longer than any stride");
        SxImageBuf record;
        record.width = width;
        record.height = height;
        record.stride = stride != 0 ? stride : static_cast<std::int32_t>(perRow * std::int64_t{sizeof(T)});
        record.channels = channels;
        record.bitsPerSample = bits != 0 ? bits : 8 * static_cast<int>(sizeof(T));
        record.dataType = sampleTypeOf<std::remove_const_t<T>>;
        // A record has no constant samples; the view keeps them constant.
        record.data = reinterpret_cast<std::uint8_t*>(const_cast<std::remove_const_t<T>*>(samples));
        return record;
    }

    std::int64_t samplesPerRow() const noexcept
    {
        return std::int64_t{m_record.width} * (m_record.packing == Interleaved ? m_record.channels : 1);
    }

    bool rowsFitStride() const noexcept
    {
        constexpr std::int64_t beyondAnyStride = std::int64_t{1} << 40;
        const std::int64_t samples = samplesPerRow();
        return samples <= beyondAnyStride && samples * std::int64_t{sizeof(T)} <= m_record.stride;
    }

    SampleRow<T> rowAt(std::int64_t index) const noexcept
    {
        return {reinterpret_cast<T*>(m_record.data + index * m_record.stride),
                static_cast<std::size_t>(samplesPerRow())};
    }

    /// The arrangement of a mosaic seen from one of its pixels: an odd column swaps the columns of the cell,
    /// an odd row its rows.
    ExBayerGrid gridFrom(int x, int y) const noexcept
    {
        if (m_record.bayerGrid < BayerBGGR || m_record.bayerGrid > BayerGRBG)
            return m_record.bayerGrid;
        return static_cast<ExBayerGrid>(m_record.bayerGrid ^ (x % 2 == 0 ? 0 : 2) ^ (y % 2 == 0 ? 0 : 3));
    }

    SxImageBuf m_record;
};

}  // namespace ko

#if __cplusplus >= 202002L
/// A row's samples outlive the row.
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<ko::SampleRow<T>> = true;
#endif
