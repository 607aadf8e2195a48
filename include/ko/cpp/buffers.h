// Owners of the work buffers of operations.
#pragma once

#include <ko/cpp/error.h>
#include <ko/demosaic.h>
#include <ko/median.h>

#include <memory>

namespace ko {

/// Owns a work buffer of `Demosaic`. Can be moved, not copied; one that was moved from holds no buffer, and
/// an operation given its null makes a buffer of its own.
class DemosaicBuffer {
public:
    /// For whole mosaics like `mosaic`. Throws `Error` where `DemosaicAllocBuffer` makes no buffer.
    explicit DemosaicBuffer(const SxImageInfo& mosaic) : m_buffer(made(DemosaicAllocBuffer(mosaic))) {}

    /// For regions of this size of mosaics like `mosaic`.
    DemosaicBuffer(const SxImageInfo& mosaic, const QRect& region)
        : m_buffer(made(DemosaicAllocBuffer(mosaic, region)))
    {
    }

    void* get() const noexcept { return m_buffer.get(); }  ///< what operations take; stays with this object

private:
    /// @cond Doxygen would link to private classes, which it does not show
    struct Free {
        void operator()(void* buffer) const noexcept { DemosaicFreeBuffer(buffer); }
    };
    /// @endcond

    static void* made(void* buffer)
    {
        if (buffer == nullptr)
            throw Error(ResultFailed,
                        "no work buffer for demosaicing: the format is no mosaic, the region is not even or "
                        "not inside, or memory ran out");
        return buffer;
    }

    std::unique_ptr<void, Free> m_buffer;
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
    /// @cond Doxygen would link to private classes, which it does not show
    struct Free {
        void operator()(void* buffer) const noexcept { MedianFreeBuffer(buffer); }
    };
    /// @endcond

    std::unique_ptr<void, Free> m_buffer;
};

}  // namespace ko
