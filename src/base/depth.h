// The bounds that a colour depth sets to its samples.
#pragma once

#include "base/checks.h"
#include "base/conversions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ko {

/// 2^bits as a signed 32-bit number, -2^31 from 31 bits on.
inline std::int32_t wrappedLevels(int bits)
{
    return toInt32(std::ldexp(1.0, bits));
}

/// The first value beyond the depth: 2^bitsPerSample as a signed 32-bit number, -2^31 from 31 bits on. Bytes
/// are limited to 8 bits. Otherwise all of them would be replaced from 31 bits on, as samples of the other
/// types are.
inline std::int32_t colorDepthLimit(const SxImageInfo& image)
{
    const int bits = hasType(image, UInt8) ? std::min(image.bitsPerSample, 8) : image.bitsPerSample;
    return wrappedLevels(bits);
}

}  // namespace ko
