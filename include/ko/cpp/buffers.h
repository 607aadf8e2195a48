// Owners of the work buffers of operations.
#pragma once

#include <ko/cpp/error.h>
#include <ko/demosaic.h>
#include <ko/median.h>

#include <memory>

namespace ko {

/// @cond
namespace detail {

template <void (*Free)(void*)>
struct FreeWorkBuffer {
    void operator()(void* buffer) const noexcept { Free(buffer); }
};
template <void (*Free)(void*)>
using WorkBuffer = std::unique_ptr<void, FreeWorkBuffer<Free>>;

/// A buffer, or an exception where there is none.
inline void* madeBuffer(void* buffer, const char* whyNot)
{
    if (buffer == nullptr)
        throw Error(ResultFailed, whyNot);
    return buffer;
}

}  // namespace detail
/// @endcond

/// Owns a work buffer of `Demosaic`. Can be moved, not copied; one that was moved from holds no buffer, and
/// an operation given its null makes a buffer of its own.
class DemosaicBuffer {
public:
    /// For whole mosaics like `mosaic`. Throws `Error` where `DemosaicAllocBuffer` makes no buffer.
    explicit DemosaicBuffer(const SxImageInfo& mosaic) : DemosaicBuffer(DemosaicAllocBuffer(mosaic)) {}

    /// For regions of this size of mosaics like `mosaic`.
    DemosaicBuffer(const SxImageInfo& mosaic, const QRect& region)
        : DemosaicBuffer(DemosaicAllocBuffer(mosaic, region))
    {
    }

    void* get() const noexcept { return m_buffer.get(); }  ///< what operations take; stays with this object

private:
    explicit DemosaicBuffer(void* buffer)
        : m_buffer(detail::madeBuffer(
              buffer, "no work buffer for demosaicing: the format is no mosaic, the region is not even or "
                      "not inside, or memory ran out"))
    {
    }

    detail::WorkBuffer<&DemosaicFreeBuffer> m_buffer;
};

/// Owns a work buffer of `DemosaicMalvar` and `DemosaicMenon`. Can be moved, not copied; one that was moved from
/// holds no buffer, and an operation given its null makes a buffer of its own.
class DemosaicCentredBuffer {
public:
    /// For regions of up to `width` columns. Throws `Error` where `DemosaicCentredAllocBuffer` makes no buffer.
    explicit DemosaicCentredBuffer(int width)
        : m_buffer(
              detail::madeBuffer(DemosaicCentredAllocBuffer(width),
                                 "no work buffer for demosaicing: the width is negative, or memory ran out"))
    {
    }

    void* get() const noexcept { return m_buffer.get(); }  ///< what operations take; stays with this object

private:
    detail::WorkBuffer<&DemosaicCentredFreeBuffer> m_buffer;
};

/// Owns a work buffer of `Median`. Can be moved, not copied; one that was moved from holds no buffer, and an
/// operation given its null makes a buffer of its own.
class MedianBuffer {
public:
    /// For images like `info`. Throws `Error` with the status of `MedianAllocBuffer`.
    MedianBuffer(const SxImageInfo& info, int radius)
    {
        void* buffer = nullptr;
        orThrow(MedianAllocBuffer(info, radius, &buffer));
        m_buffer.reset(buffer);
    }

    void* get() const noexcept { return m_buffer.get(); }  ///< what operations take; stays with this object

private:
    detail::WorkBuffer<&MedianFreeBuffer> m_buffer;
};

}  // namespace ko
