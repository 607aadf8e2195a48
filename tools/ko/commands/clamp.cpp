// ko clamp: no more than a number of bits.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/parts.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

Image clamp(const Image& picture, int bits, Frame& frame)
{
    if (picture->dataType != UInt8 && picture->dataType != UInt16 && picture->dataType != UInt32)
        throw std::runtime_error("its samples are not unsigned of 8, 16 or 32 bits");
    if (bits > 8 * bytesPerSample(picture->dataType))
        throw std::runtime_error("its samples have fewer than " + std::to_string(bits) + " bits");
    Image result = copyOf(picture);
    result->bitsPerSample = bits;
    timed(frame, [&] { require(ClampToColorDepth(*result), "ClampToColorDepth"); });
    return result;
}

}  // namespace

const Operation clampOperation{
    "Pixels", "clamp", "Limit samples to a number of bits, which becomes their depth",
    [](Settings& settings) -> Operation::Prepare {
        auto bits = std::make_shared<int>(0);
        // From 31 bits on the limit of 32-bit arithmetic would show.
        settings.whole("bits", *bits, {1, 30}, "significant bits of the result").isRequired = true;
        return [bits]() -> Filter {
            return [bits](const Image& picture, Frame& frame) { return clamp(picture, *bits, frame); };
        };
    }};

}  // namespace ko::tool
