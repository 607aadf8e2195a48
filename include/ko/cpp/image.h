// Owner of an image.
#pragma once

#include <ko/cpp/error.h>
#include <ko/cpp/view.h>
#include <ko/image.h>

#include <utility>

namespace ko {

/// Owns the pixel memory of an image and releases it. Can be moved, not copied; one that was moved from is
/// empty, like one made without arguments.
///
/// An object of this class goes wherever an operation takes an `SxImageBuf`. `*image` is the record and
/// `image->width` a field of it; `data` and the bookkeeping words are not to be changed through them.
class Image {
public:
    /// An empty image: operations call it absent.
    Image() noexcept = default;

    /// Allocates an image of a format, with samples that are undefined. The stride is chosen anew, whatever
    /// `format.stride` says. Throws `Error` when the format cannot exist and when memory runs out.
    explicit Image(const SxImageInfo& format) : Image(format, false) {}

    /// Allocates an interleaved image with samples that are undefined. `bits` of 0 means all bits of the
    /// container.
    Image(int width, int height, int channels, ExImageDataType type, int bits = 0)
        : Image(formatOf(width, height, channels, type, bits))
    {
    }

    /// Allocates an image of a format, with every sample 0.
    static Image zeros(const SxImageInfo& format) { return Image(format, true); }

    /// Allocates an interleaved image with every sample 0.
    static Image zeros(int width, int height, int channels, ExImageDataType type, int bits = 0)
    {
        return zeros(formatOf(width, height, channels, type, bits));
    }

    /// Takes over the memory of a record that `AllocBuffer` or another operation has made.
    static Image owning(const SxImageBuf& record) noexcept
    {
        Image image;
        image.m_record = record;
        return image;
    }

    /// Takes the image of `other`, which is empty then.
    Image(Image&& other) noexcept : m_record(other.release()) {}
    /// Releases what is owned and takes the image of `other`, which is empty then.
    Image& operator=(Image&& other) noexcept
    {
        const SxImageBuf taken = other.release();
        renew() = taken;
        return *this;
    }
    ~Image() { FreeBuffer(m_record); }

    /// Gives the memory away: the caller releases it with `FreeBuffer`, or hands it to a frame.
    [[nodiscard]] SxImageBuf release() noexcept { return std::exchange(m_record, SxImageBuf()); }

    /// Releases what is owned and gives the empty record to an operation that allocates its result:
    /// `orThrow(EllipseMaskMono(mask.renew(), 120, 80, 0.0, 0, 255))`.
    SxImageBuf& renew() noexcept
    {
        FreeBuffer(m_record);
        return m_record = SxImageBuf();
    }

    /// There is an image.
    explicit operator bool() const noexcept { return m_record.data != nullptr; }

    operator SxImageBuf&() noexcept { return m_record; }                 ///< for operations
    operator const SxImageBuf&() const noexcept { return m_record; }     ///< for operations that only read
    SxImageBuf& operator*() noexcept { return m_record; }                ///< the record
    const SxImageBuf& operator*() const noexcept { return m_record; }    ///< the record, only to be read
    SxImageBuf* operator->() noexcept { return &m_record; }              ///< a field of the record
    const SxImageBuf* operator->() const noexcept { return &m_record; }  ///< a field, only to be read

    /// The samples as what they are. Valid as long as this object owns them. Throws `Error` as `ImageView`
    /// does.
    template <class T>
    ImageView<T> view() &
    {
        return ImageView<T>(m_record);
    }
    /// The same of a constant image, with samples that can only be read.
    template <class T>
    ImageView<const T> view() const&
    {
        return ImageView<const T>(m_record);
    }
    /// A view of an image that is about to be destroyed would dangle.
    template <class T>
    void view() const&& = delete;

private:
    Image(SxImageInfo format, bool cleared)
    {
        format.stride = 0;
        if (!isFailure(AllocBuffer(format, m_record, cleared)))
            return;
        const bool canExist = bytesPerSample(format.dataType) > 0 && format.width >= 0 &&
                              format.height >= 0 && format.channels >= 1;
        throw Error(ResultFailed, canExist ? "out of memory" : "no image can have this format");
    }

    static SxImageInfo formatOf(int width, int height, int channels, ExImageDataType type, int bits)
    {
        SxImageInfo format;
        format.width = width;
        format.height = height;
        format.channels = channels;
        format.dataType = type;
        format.bitsPerSample = bits != 0 ? bits : 8 * bytesPerSample(type);
        return format;
    }

    SxImageBuf m_record;
};

}  // namespace ko
