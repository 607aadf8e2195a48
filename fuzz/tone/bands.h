// Bands of levels from the bytes of an input.
#pragma once

#include "fuzz/support/outcome.h"

#include <algorithm>
#include <utility>

namespace ko::fuzz {

inline constexpr std::initializer_list<ExImageDataType> toneTypes = {UInt8, UInt16, Int8,  Int16,
                                                                     UInt8, UInt16, UInt8, Float32};

struct Band {
    int low, high;
};

/// The greatest level of a sound image of one or two bytes per sample.
inline int topOf(const Layout& layout)
{
    const int bits = layout.bits != 0 ? layout.bits : 8 * bytesPerSample(layout.type);
    return (1 << std::min(bits, 16)) - 1;
}

/// Within the image's levels mostly, in order mostly, at times all of them.
inline Band anyBand(ByteReader& in, const Layout& layout)
{
    const int top = topOf(layout);
    if (in.oneIn(8))
        return {0, top};
    const auto level = [&] { return in.oneIn(12) ? in.integer() : in.below(top + 1); };
    Band band{level(), level()};
    if (band.low > band.high && !in.oneIn(8))
        std::swap(band.low, band.high);
    return band;
}

inline bool isWhole(const Band& band, const Layout& layout)
{
    return band.low == 0 && band.high == topOf(layout);
}

inline bool isWithin(const Band& band, const Layout& layout)
{
    const int top = topOf(layout);
    return band.low >= 0 && band.high >= 0 && band.low <= top && band.high <= top;
}

/// A channel: valid mostly, the count itself and others at times.
inline int anyChannel(ByteReader& in, int count)
{
    return in.oneIn(12) ? in.integer() : in.below(std::clamp(count, 1, 5) + (in.oneIn(8) ? 1 : 0));
}

}  // namespace ko::fuzz
