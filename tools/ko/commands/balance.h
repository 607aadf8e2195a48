// White balance of mosaics.
#pragma once

#include "io/image.h"
#include "io/sensor.h"

#include <vector>

namespace ko::tool {

/// Of a sensor: without light, and where it clips.
struct Levels {
    int black;
    int white;
};

/// The gains that make the mean of a mosaic gray, and the means of both greens equal where they differ by as little as
/// those of a sensor; or those of a picture in three channels. Cells or pixels with a clipped sample do not count: what
/// was brighter than the sensor could tell has no known colour.
Gains grayWorldGains(const SxImageBuf& picture, Levels levels);

/// One for each position of the cell, in raster order, or for each channel.
std::vector<double> gainsByPlace(const SxImageInfo& format, const Gains& gains);

/// The mosaic or picture of words with its colours in balance, in 16 bits. The sample that is brightest for its colour
/// when the sensor clips becomes white, and so do all brighter ones of the other colours: clipped places are
/// white, whatever the gains are. Those of one channel without a mosaic have the first gain.
Image balanced(const SxImageBuf& picture, Levels levels, const Gains& gains);

}  // namespace ko::tool
