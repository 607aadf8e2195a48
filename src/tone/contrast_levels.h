// What the contrast operations demand of their images and levels.
#pragma once

#include "base/checks.h"
#include "base/depth.h"
#include "base/dispatch.h"

#include <cstdint>

namespace ko {

/// Samples that have levels, read without sign.
using LevelSamples = BySizeOf<Int8, UInt8, Int16, UInt16>;

inline bool hasLevelSamples(const SxImageInfo& image) noexcept
{
    return hasType(image, Int8, UInt8, Int16, UInt16);
}

inline bool sameLevels(const SxImageInfo& a, const SxImageInfo& b) noexcept
{
    return a.dataType == b.dataType && a.bitsPerSample == b.bitsPerSample;
}

/// The highest level, wrapped to 32 bits: 2^31 - 1 from 31 bits on, -1 for a negative number of bits.
inline std::int32_t wrappedTop(const SxImageInfo& image) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(wrappedLevels(image.bitsPerSample)) - 1U);
}

inline bool isLevel(int level, const SxImageInfo& image) noexcept
{
    return level >= 0 && level <= wrappedTop(image);
}

/// The whole range, which changes nothing.
inline bool isIdentity(const SxImageInfo& image, int low, int high) noexcept
{
    return low == 0 && high == wrappedTop(image);
}

}  // namespace ko
