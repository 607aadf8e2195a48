// The corrections that camera raws ask for.
#pragma once

#include "commands/rendering.h"
#include "io/corrections.h"
#include "io/image.h"

namespace ko::tool {

/// Gives the faulty pixels of a picture or mosaic of words what the nearest sound ones of their colour have.
void repair(Image& picture, const Corrections& corrections);

/// Applies those of a list to samples of 16 bits that have the levels of a curve. They are those of the whole picture, or
/// of one that is reduced to one pixel of `scale` in both directions.
void apply(Image& picture, const std::vector<Correction>& list, const Corrections& corrections, Curve curve,
           int scale);

/// Tells what a person should know of a picture that is corrected.
void warnOf(const Corrections& corrections);

}  // namespace ko::tool
