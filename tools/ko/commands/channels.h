// The samples that statistics are made of: channels of a picture, as far as the user selects them.
#pragma once

#include "cli/settings.h"
#include "io/image.h"

#include <QRect>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

/// What the command line says of the pixels that count.
struct Selection {
    std::string mask;  ///< empty: all pixels
    QRect region;      ///< null: the whole picture
};

/// Declares `mask` and `roi`.
void addSelection(Settings& settings, Selection& selection);

/// One channel of a picture as a mono image, and which of its samples count; all without a mask.
struct Channel {
    std::string name;
    Image samples;
    std::optional<Image> mask;
};

/// The channels of a picture; a mosaic has four, one for each position of its cell. Throws where the region
/// does not lie inside the picture, where that of a mosaic is odd, where the mask does not fit, and where
/// nothing is selected.
std::vector<Channel> selectChannels(const Image& picture, const Selection& selection);

/// Takes the samples that are no numbers out of a channel's selection and says how many these are.
std::int64_t leaveOutNaN(Channel& channel);

/// True where nothing of a channel is selected, after that.
bool isEmpty(const Channel& channel);

/// What the channels of a picture are called.
std::vector<std::string> channelNames(const SxImageInfo& format);

/// The region of a selection inside a picture; for a mosaic it consists of whole cells. Throws where not.
QRect selectedRegion(const SxImageInfo& format, const Selection& selection);

/// The selected samples of a channel, in one row if there is a mask.
Image gather(const Channel& channel);

/// How often each level occurs in a channel whose levels can be counted.
std::vector<std::uint32_t> countLevels(const Channel& channel);

/// Otsu's threshold of a distribution: of equally good levels the highest, as the library's operation gives
/// it. That one keeps its sums in 32 bits, too few for pictures of usual size.
unsigned otsuThreshold(const std::vector<std::uint32_t>& counts);

}  // namespace ko::tool
