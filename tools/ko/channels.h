// The samples that statistics are made of: channels of a picture, as far as the user selects them.
#pragma once

#include "command.h"
#include "image.h"

#include <QRect>

#include <string>
#include <vector>

namespace ko::tool {

/// What the command line says of the pixels that count.
struct Selection {
    std::string mask;  ///< empty: all pixels
    QRect region;      ///< null: the whole picture
};

/// Declares `--mask` and `--roi`.
void addSelectionOptions(CLI::App& command, Selection& selection);

/// One channel of a picture: a mono image with its selected samples. Under a mask they stand in one row, in
/// raster order; else where they stood.
struct Channel {
    std::string name;
    Image samples;
};

/// The channels of a picture; a mosaic has four, one for each position of its cell. Throws where the region
/// does not lie inside the picture, where that of a mosaic is odd, where the mask does not fit, and where
/// nothing is selected.
std::vector<Channel> selectChannels(const Image& picture, const Selection& selection);

/// True for the sample types whose levels can be counted: unsigned of 8 or 16 bits.
inline bool hasLevels(const SxImageInfo& format)
{
    return format.dataType == UInt8 || format.dataType == UInt16;
}

/// Throws where the levels of a picture cannot be counted.
void requireLevels(const SxImageInfo& format);

/// How often each level occurs in a mono image whose levels can be counted.
std::vector<std::uint32_t> countLevels(const Image& channel);

/// An image of ones, which selects all pixels.
Image maskOfOnes(const SxImageInfo& format);

/// Otsu's threshold of a mono image whose levels can be counted. The sums of the operation are 32 bits wide
/// and hold 32,767 pixels of any level: for more, it is the threshold of so many evenly spaced quantiles.
unsigned otsuThreshold(const Image& channel);

}  // namespace ko::tool
