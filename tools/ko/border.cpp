// ko border: pictures with a mirrored margin.
#include "commands.h"
#include "failure.h"
#include "filtering.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    int left = 0, top = 0, right = 0, bottom = 0;
};

Image addBorder(const Image& picture, Frame& frame, const Options& o)
{
    if (o.left > picture->width || o.right > picture->width || o.top > picture->height ||
        o.bottom > picture->height)
        throw std::runtime_error("smaller than the margin");
    SxImageInfo format = *picture;
    format.width += o.left + o.right;
    format.height += o.top + o.bottom;
    Image result(format);
    timed(frame, [&] {
        require(CreateImageWithMirroredBorder(*picture, *result, o.left, o.top, o.right, o.bottom),
                "CreateImageWithMirroredBorder");
    });
    return result;
}

}  // namespace

const Command borderCommand{
    "Masks and borders", "border", "Enlarge pictures by a mirrored margin",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        const std::pair<const char*, int*> margins[] = {{"--left", &options->left},
                                                        {"--top", &options->top},
                                                        {"--right", &options->right},
                                                        {"--bottom", &options->bottom}};
        for (const auto& [name, margin] : margins)
            command.add_option(name, *margin, "pixels, 0 if not given")->check(CLI::Range(0, 1 << 24));
        return [options] {
            return runFilter(options->files, [options](const Image& picture, Frame& frame) {
                return addBorder(picture, frame, *options);
            });
        };
    }};

}  // namespace ko::tool
