// ko binarize: what is not zero.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"

#include <memory>

namespace ko::tool {
namespace {

Image binarize(const Image& picture, unsigned char value, Frame& frame)
{
    requireMono(*picture);
    Image result(makeFormat(picture->width, picture->height, 1, UInt8));
    timed(frame, [&] { require(Binarize(*picture, *result, value), "Binarize"); });
    return result;
}

}  // namespace

const Operation binarizeOperation{
    "Masks and borders", "binarize", "Make 8-bit masks of mono pictures: one level where a sample is not 0",
    [](Settings& settings) -> Operation::Prepare {
        auto value = std::make_shared<int>(255);
        settings.whole("value", *value, {0, 255}, "the level, 255 if not given");
        return [value]() -> Filter {
            return [value](const Image& picture, Frame& frame) {
                return binarize(picture, static_cast<unsigned char>(*value), frame);
            };
        };
    }};

}  // namespace ko::tool
