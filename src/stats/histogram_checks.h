// What histograms require of their images and containers.
#pragma once

#include "base/checks.h"

#include <ko/histogram_containers.h>

#include <cstdint>

namespace ko {

/// 2^bits, cut to 0 below 2^0; beyond 2^62 nothing has as many levels, and the number stays there.
inline std::int64_t levelsOf(std::int32_t bits) noexcept
{
    if (bits < 0)
        return 0;
    return std::int64_t{1} << (bits < 62 ? bits : 62);
}

/// Present, and of a type and depth whose samples are bin numbers: `UInt8` up to 8 bits, `UInt16` up to 16.
inline bool isCountable(const SxImageBuf& src) noexcept
{
    return isPresent(src) && ((hasType(src, UInt8) && src.bitsPerSample <= 8) ||
                              (hasType(src, UInt16) && src.bitsPerSample <= 16));
}

/// Present, of one or two bytes of either sign, up to 16 bits.
inline bool isShallow(const SxImageBuf& src) noexcept
{
    return isPresent(src) && hasType(src, Int8, UInt8, Int16, UInt16) && src.bitsPerSample <= 16;
}

/// A `UInt8` image has at most 8 bits. `Int8` is not checked.
inline bool fitsItsBytes(const SxImageInfo& src) noexcept
{
    return !hasType(src, UInt8) || src.bitsPerSample <= 8;
}

inline bool hasRow(const SxImageInfo& image, int row) noexcept
{
    return row >= 0 && row < image.height;
}

inline bool hasColumn(const SxImageInfo& image, int column) noexcept
{
    return column >= 0 && column < image.width;
}

inline bool hasPlane(const CxImageHistogram& hist, int plane) noexcept
{
    return plane >= 0 && plane < hist.planes;
}

inline bool hasBins(const CxImageHistogram& hist) noexcept
{
    return hist.bins != nullptr;
}

/// At least one counter per value of the image's depth.
inline bool holdsLevels(const CxImageHistogram& hist, const SxImageInfo& src) noexcept
{
    return hist.levels >= levelsOf(src.bitsPerSample);
}

/// One plane per channel of the image, each with a counter per value.
inline bool isHistogramOf(const CxImageHistogram& hist, const SxImageInfo& src) noexcept
{
    return hasBins(hist) && hist.planes == src.channels && holdsLevels(hist, src);
}

inline bool fitsInto(const SxImageInfo& stencil, const SxImageInfo& image) noexcept
{
    return stencil.width <= image.width && stencil.height <= image.height;
}

/// Four planes with exactly one counter per value of the image's depth: gray and three colours.
inline bool isColourHistogramOf(const CxImageHistogram& hist, const SxImageInfo& src) noexcept
{
    return hist.planes == 4 && hist.levels == levelsOf(src.bitsPerSample);
}

}  // namespace ko
