// ko apply-mask: black around what a mask selects.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/masks.h"
#include "io/parts.h"

namespace ko::tool {

const Operation applyMaskOperation{
    "Masks and borders", "apply-mask", "Blacken what a mask does not select",
    [](Settings& settings) -> Operation::Prepare {
        auto file = std::make_shared<std::string>();
        settings.file("mask", *file, "picture of one channel and the same size; kept where it is not zero")
            .isRequired = true;
        return [file]() -> Filter {
            return [mask = readMask(*file)](const Image& picture, Frame& frame) {
                Image result = copyOf(picture);
                timed(frame, [&] { require(MaskImage(*result, *mask->of(*picture)), "MaskImage"); });
                return result;
            };
        };
    },
    true};

}  // namespace ko::tool
