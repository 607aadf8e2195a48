// What the contrast operations demand of their images and levels.
#pragma once

#include "base/checks.h"
#include "base/conversions.h"
#include "base/dispatch.h"

#include <cmath>
#include <cstdint>

namespace ko {

/// Samples that have levels, read without sign.
using LevelSamples = BySizeOf<Int8, UInt8, Int16, UInt16>;

inline bool hasLevelSamples(const SxImageInfo& image) noexcept
{
    return hasType(image, Int8, UInt8, Int16, UInt16);
}

inline bool hasKnownPacking(const SxImageInfo& image) noexcept
{
    return isInterleaved(image) || isPlanar(image);
}

inline bool hasChannel(const SxImageInfo& image, int channel) noexcept
{
    return channel >= 0 && channel < image.channels;
}

inline bool sameLevels(const SxImageInfo& a, const SxImageInfo& b) noexcept
{
    return a.dataType == b.dataType && a.bitsPerSample == b.bitsPerSample;
}

/// 2^bitsPerSample as a 32-bit number, -2^31 from 31 bits on.
inline std::int32_t levelsOf(const SxImageInfo& image) noexcept
{
    return toInt32(std::ldexp(1.0, image.bitsPerSample));
}

/// The highest level, wrapped to 32 bits: 2^31 - 1 from 31 bits on, -1 for a negative number of bits.
inline std::int32_t topOf(const SxImageInfo& image) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(levelsOf(image)) - 1U);
}

inline bool isLevel(int level, const SxImageInfo& image) noexcept
{
    return level >= 0 && level <= topOf(image);
}

/// The whole range, which changes nothing.
inline bool isIdentity(const SxImageInfo& image, int low, int high) noexcept
{
    return low == 0 && high == topOf(image);
}

}  // namespace ko
