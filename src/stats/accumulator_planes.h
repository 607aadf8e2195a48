// The planes of an accumulator: which there are, and what must hold of them.
#pragma once

#include "base/checks.h"

#include <ko/stats/accumulate.h>

#include <algorithm>
#include <array>

namespace ko {

/// The planes in the order of the record. `Image` is `SxImageBuf`, const or not.
template <class Accumulator>
auto planesOf(Accumulator& sums) noexcept
{
    return std::array{&sums.sum, &sums.squares, &sums.minimum, &sums.maximum, &sums.above, &sums.counts};
}

inline bool isWanted(const SxImageBuf& plane) noexcept
{
    return plane.data != nullptr;
}

/// A plane that is wanted has the layout of `like` and this type.
inline bool fitsAs(const SxImageBuf& plane, const SxImageInfo& like, ExImageDataType type) noexcept
{
    return !isWanted(plane) || (isPresent(plane) && sameGeometry(plane, like) && hasType(plane, type));
}

/// There is a plane, all have the layout of `like`, and the extremes are of this type.
inline bool hasPlanesLike(const SxAccumulator& sums, const SxImageInfo& like, ExImageDataType type) noexcept
{
    const auto planes = planesOf(sums);
    return std::any_of(planes.begin(), planes.end(), [](const auto* plane) { return isWanted(*plane); }) &&
           fitsAs(sums.sum, like, UInt64) && fitsAs(sums.squares, like, UInt64) &&
           fitsAs(sums.minimum, like, type) && fitsAs(sums.maximum, like, type) &&
           fitsAs(sums.above, like, UInt32) && fitsAs(sums.counts, like, UInt32);
}

/// The first plane that there is, an empty image where there is none.
inline const SxImageBuf& anyPlane(const SxAccumulator& sums) noexcept
{
    const auto planes = planesOf(sums);
    return **std::find_if(planes.begin(), planes.end() - 1,
                          [](const auto* plane) { return isWanted(*plane); });
}

/// Planes that belong together, for frames of either type.
inline bool hasPlanes(const SxAccumulator& sums) noexcept
{
    const SxImageBuf& any = anyPlane(sums);
    return hasPlanesLike(sums, any, UInt8) || hasPlanesLike(sums, any, UInt16);
}

inline bool hasFrames(const SxAccumulator& sums) noexcept
{
    return sums.frames <= mostAccumulatedFrames;
}

/// No plane has rows longer than its stride.
inline bool planesFit(const SxAccumulator& sums) noexcept
{
    const auto planes = planesOf(sums);
    return std::all_of(planes.begin(), planes.end(),
                       [](const auto* plane) { return !isWanted(*plane) || rowsFit(*plane); });
}

/// Rows of samples: planes follow one another, so those of a planar image are rows like any other.
inline std::int64_t sampleRows(const SxImageInfo& info) noexcept
{
    return isPlanar(info) ? std::int64_t{info.height} * info.channels : info.height;
}

inline std::int64_t samplesPerRow(const SxImageInfo& info) noexcept
{
    return isPlanar(info) ? info.width : std::int64_t{info.width} * info.channels;
}

}  // namespace ko
