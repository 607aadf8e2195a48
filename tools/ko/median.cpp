// ko median: noise out, edges kept.
#include "commands.h"
#include "failure.h"
#include "filtering.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    int radius = 1;
};

Image median(const Image& picture, Frame& frame, int radius)
{
    if (picture->channels != 1 && picture->channels != 3)
        throw std::runtime_error("has " + std::to_string(picture->channels) + " channels, wanted are 1 or 3");
    if (picture->dataType != UInt8 && picture->dataType != UInt16)
        throw std::runtime_error("its samples are not unsigned of 8 or 16 bits");
    if (radius > (std::min(picture->width, picture->height) - 1) / 2)
        throw std::runtime_error("smaller than the neighbourhood");
    Image result(*picture);
    timed(frame, [&] { require(Median(*picture, *result, radius, nullptr), "Median"); });
    return result;
}

}  // namespace

const Command medianCommand{
    "Filters", "median", "Replace every sample by the median of the square around it",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command.add_option("--radius", options->radius, "the square is 2 x radius + 1 wide")
            ->check(CLI::Range(0, 1 << 20))
            ->capture_default_str();
        return [options] {
            return runFilter(options->files, [options](const Image& picture, Frame& frame) {
                return median(picture, frame, options->radius);
            });
        };
    }};

}  // namespace ko::tool
