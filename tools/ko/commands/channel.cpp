// ko channel: one channel as a picture.
#include "commands/filtering.h"
#include "commands/operations.h"
#include "io/parts.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

Image channel(const Image& picture, int index)
{
    const bool isMosaic = picture->bayerGrid != BayerNone;
    if (isMosaic)
        requireMosaic(*picture);
    if (index >= (isMosaic ? 4 : picture->channels))
        throw std::runtime_error("has no channel " + std::to_string(index) + ", they are counted from 0");
    return isMosaic ? channelOf(planesOf(picture, wholeOf(*picture), picture->bayerGrid), index)
                    : channelOf(picture, index);
}

}  // namespace

const Operation channelOperation{
    "Files", "channel", "Take one channel out of pictures, or one position of a mosaic's cells",
    [](Settings& settings) -> Operation::Prepare {
        auto index = std::make_shared<int>(0);
        settings
            .whole("index", *index, naturalNumbers,
                   "counted from 0; of mosaics red, a green, blue, the other green")
            .isRequired = true;
        return [index]() -> Filter {
            return [index](const Image& picture, Frame&) { return channel(picture, *index); };
        };
    }};

}  // namespace ko::tool
