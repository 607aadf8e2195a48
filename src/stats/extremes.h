// Minimum and maximum of the channels of an image, in its own sample type.
#pragma once

#include "base/checks.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ko {

/// Minimum and maximum of every channel, or of every position in the cells of a mosaic; where there are no
/// samples, the starting values.
template <class T>
struct Extremes {
    static constexpr T startLow = std::numeric_limits<T>::max();
    static constexpr T startHigh = std::numeric_limits<T>::lowest();

    std::vector<T> low;
    std::vector<T> high;

    explicit Extremes(std::int64_t count)
        : low(static_cast<std::size_t>(count), startLow), high(static_cast<std::size_t>(count), startHigh)
    {
    }
};

/// The image has channels of its own, not those of a mosaic.
inline bool hasPlainChannels(const SxImageInfo& info) noexcept
{
    return (isInterleaved(info) && info.bayerGrid == BayerNone) || isPlanar(info);
}

/// Whole cells with this side cover the extent, and there is at least one.
inline bool isCellSide(int side, int extent) noexcept
{
    return side >= 1 && side <= extent && extent % side == 0;
}

/// Per logical channel of an interleaved image or per plane of a planar one; `mask` is null for all pixels.
template <class T>
Extremes<T> channelExtremes(const SxImageBuf& src, const SxImageBuf* mask);

/// Per position (x mod cellWidth) + (y mod cellHeight) * cellWidth. The size need not be a multiple of the
/// cell's.
template <class T>
Extremes<T> mosaicExtremes(const SxImageBuf& src, int cellWidth, int cellHeight);

extern template Extremes<std::int32_t> channelExtremes(const SxImageBuf&, const SxImageBuf*);
extern template Extremes<float> channelExtremes(const SxImageBuf&, const SxImageBuf*);
extern template Extremes<double> channelExtremes(const SxImageBuf&, const SxImageBuf*);
extern template Extremes<std::int32_t> mosaicExtremes(const SxImageBuf&, int, int);
extern template Extremes<float> mosaicExtremes(const SxImageBuf&, int, int);
extern template Extremes<double> mosaicExtremes(const SxImageBuf&, int, int);

}  // namespace ko
