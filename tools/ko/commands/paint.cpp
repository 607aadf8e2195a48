// ko paint: one level where a mask selects.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/levels.h"
#include "io/masks.h"
#include "io/parts.h"

#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    std::string mask;
    QPoint position;
    double value = 0;
};

Image paint(const Image& picture, const Mask& mask, const Options& options, Frame& frame)
{
    const Image& stamp = mask.image();
    if (!wholeOf(*picture).contains(wholeOf(*stamp).translated(options.position)))
        throw std::runtime_error("the mask does not lie inside the picture of " +
                                 std::to_string(picture->width) + " x " + std::to_string(picture->height));
    const QVariant value = sampleOf(*picture, options.value);
    Image result = copyOf(picture);
    timed(frame, [&] {
        for (int index = 0; index < result->channels; ++index) {
            Image channel = channelOf(result, index);
            require(SetValueMasked(*channel, *stamp, options.position, value), "SetValueMasked");
            require(CopyChannel(*channel, 0, *result, index), "CopyChannel");
        }
    });
    return result;
}

}  // namespace

const Operation paintOperation{
    "Masks and borders", "paint", "Give all channels one level where a mask, placed somewhere, selects",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.file("mask", options->mask, "picture of one channel, not larger than the inputs")
            .isRequired = true;
        settings.point("at", options->position, "where its top left corner goes; 0,0 if not given");
        settings.number("value", options->value, finiteNumbers, "the level, 0 if not given");
        return [options]() -> Filter {
            return [options, mask = readMask(options->mask)](const Image& picture, Frame& frame) {
                return paint(picture, *mask, *options, frame);
            };
        };
    },
    true};

}  // namespace ko::tool
