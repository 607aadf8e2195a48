// How the samples of a channel are distributed over the levels.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

#include <vector>

namespace ko {

/// The part of all counted samples that lies at or below each level, summed up in double from level 0 on, so
/// that the last one may differ from 1 by rounding. Empty where nothing was counted.
using Distribution = std::vector<double>;

/// Of a plane of a histogram, which the plane must be in.
Distribution distributionOf(const CxImageHistogram& hist, int plane);

/// Counts the first `channels` channels of a mono image or of interleaved pixels of up to four, in one pass
/// and into a plane each. Samples of one or two bytes, of no more bits than these have, are read without
/// sign; those above the depth are not counted.
/// @throws std::bad_alloc
CxImageHistogram countLevels(const SxImageBuf& image, int channels);

}  // namespace ko
