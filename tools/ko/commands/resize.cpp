// ko resize: pictures of another size.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/levels.h"
#include "io/parts.h"
#include "io/picture_module.h"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

enum Method { Lanczos, Cubic, Triangle, Box, Exact, Stretched };

struct Options {
    Method method = Lanczos;
    std::optional<int> width;
    std::optional<int> height;
    std::optional<double> scale;
};

/// One pixel at least.
int sizeOf(double size)
{
    if (size > 1 << 24)
        throw std::runtime_error("would become larger than " + std::to_string(1 << 24) + " pixels");
    return std::max(1, static_cast<int>(std::lround(size)));
}

bool isOfTheLibrary(Method method)
{
    return method == Exact || method == Stretched;
}

/// As OpenImageIO calls them.
const char* nameOf(Method method)
{
    constexpr const char* names[] = {"lanczos3", "mitchell", "triangle", "box"};
    return names[method];
}

Image resize(const Image& picture, const Options& options, Frame& frame)
{
    if (!hasLevels(*picture) && (isOfTheLibrary(options.method) || picture->dataType != Float32))
        throw std::runtime_error(isOfTheLibrary(options.method)
                                     ? "its samples are not unsigned of 8 or 16 bits"
                                     : "its samples are neither unsigned of 8 or 16 bits nor floats of 32");
    if (picture->bayerGrid != BayerNone)
        throw std::runtime_error("a mosaic would lose its pattern, demosaic it first");
    // What is not given follows from what is.
    const double scale = options.scale   ? *options.scale
                         : options.width ? static_cast<double>(*options.width) / picture->width
                                         : static_cast<double>(*options.height) / picture->height;
    const int width = options.width ? *options.width : sizeOf(picture->width * scale);
    const int height = options.height ? *options.height : sizeOf(picture->height * scale);
    Image result(resized(*picture, width, height, picture->channels));
    timed(frame, [&] {
        if (options.method == Exact)
            require(Resize(*picture, *result), "Resize");
        else if (options.method == Stretched)
            require(Stretch(*picture, *result, InterpolationLinear), "Stretch");
        else
            pictureModule().resample(picture, result, nameOf(options.method), omp_get_max_threads());
    });
    return result;
}

}  // namespace

const Operation resizeOperation{
    "Filters", "resize", "Resample pictures to another size",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        const Range pixels{1, 1 << 24};
        settings.whole("width", options->width, pixels, "pixels; in proportion to the height if not given");
        settings.whole("height", options->height, pixels, "pixels; in proportion to the width if not given");
        settings.number("scale", options->scale, {1e-4, 1e4}, "times the size, instead of both");
        settings.choice("filter", options->method,
                        {{"lanczos", Lanczos},
                         {"cubic", Cubic},
                         {"triangle", Triangle},
                         {"box", Box},
                         {"exact", Exact},
                         {"stretch", Stretched}},
                        "lanczos if not given; exact takes means of areas or linear ones, rounded once; "
                        "stretch moves and darkens pictures a little");
        settings.rule([o = options.get()] { return o->scale.has_value() != (o->width || o->height); },
                      "either --width or --height or both, or --scale is wanted");
        return [options]() -> Filter {
            return [options](const Image& picture, Frame& frame) { return resize(picture, *options, frame); };
        };
    },
    true};

}  // namespace ko::tool
