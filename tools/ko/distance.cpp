// ko distance: how far every pixel is from the nearest object.
#include "commands.h"
#include "failure.h"
#include "filtering.h"

#include <algorithm>
#include <map>
#include <memory>

namespace ko::tool {
namespace {

const std::map<std::string, ExChamferMask> masks{
    {"chessboard", ChamferChessboard}, {"3x3", Chamfer3x3}, {"5x5", Chamfer5x5}, {"7x7", Chamfer7x7},
    {"13x13", Chamfer13x13},
};

struct Options {
    FileSeries files;
    ExChamferMask mask = Chamfer5x5;
    bool scaled = false;
};

Image distance(const Image& picture, Frame& frame, const Options& options)
{
    requireMonoUnsigned(picture);
    Image objects(makeFormat(picture->width, picture->height, 1, UInt8));
    Image distances(makeFormat(picture->width, picture->height, 1, Float64));
    Image result(makeFormat(picture->width, picture->height, 1, options.scaled ? UInt16 : Float32));
    timed(frame, [&] {
        require(Binarize(*picture, *objects, 255), "Binarize");
        require(ChamferDistance(*objects, *distances, options.mask), "ChamferDistance");
        if (options.scaled)
            require(ConvertDoubleToU(*distances, *result, NormalizeJoint, nullptr, nullptr, true),
                    "ConvertDoubleToU");
    });
    if (!options.scaled) {
        for (int y = 0; y < result->height; ++y) {
            const double* const from = rowOf<double>(distances, y);
            std::transform(from, from + result->width, rowOf<float>(result, y),
                           [](double value) { return static_cast<float>(value); });
        }
    }
    return result;
}

}  // namespace

const Command distanceCommand{
    "Filters", "distance", "Distance of every pixel to the nearest pixel that is not 0, in pixels",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command.add_option("--mask", options->mask, "steps of the path, 5x5 if not given")
            ->option_text("chessboard|3x3|5x5|7x7|13x13")
            ->transform(CLI::CheckedTransformer(masks, CLI::ignore_case));
        command.add_flag("--scaled", options->scaled,
                         "16-bit samples with the farthest pixel white, for formats without floats");
        return [options] {
            return runFilter(options->files, [options](const Image& picture, Frame& frame) {
                return distance(picture, frame, *options);
            });
        };
    }};

}  // namespace ko::tool
