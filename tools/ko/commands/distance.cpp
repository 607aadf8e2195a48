// ko distance: how far every pixel is from the nearest object.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"

#include <algorithm>
#include <memory>

namespace ko::tool {
namespace {

struct Options {
    ExChamferMask mask = Chamfer5x5;
    bool isScaled = false;
};

Image distance(const Image& picture, Frame& frame, const Options& options)
{
    requireMonoUnsigned(*picture);
    Image objects(makeFormat(picture->width, picture->height, 1, UInt8));
    Image distances(makeFormat(picture->width, picture->height, 1, Float64));
    Image result(makeFormat(picture->width, picture->height, 1, options.isScaled ? UInt16 : Float32));
    timed(frame, [&] {
        require(Binarize(*picture, *objects, 255), "Binarize");
        require(ChamferDistance(*objects, *distances, options.mask), "ChamferDistance");
        if (options.isScaled)
            require(ConvertDoubleToU(*distances, *result, NormalizeJoint, nullptr, nullptr, true),
                    "ConvertDoubleToU");
    });
    if (!options.isScaled) {
        for (int y = 0; y < result->height; ++y) {
            const double* const from = rowOf<double>(distances, y);
            std::transform(from, from + result->width, rowOf<float>(result, y),
                           [](double value) { return static_cast<float>(value); });
        }
    }
    return result;
}

}  // namespace

const Operation distanceOperation{
    "Filters", "distance", "Distance of every pixel to the nearest pixel that is not 0, in pixels",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.choice("mask", options->mask,
                        {{"chessboard", ChamferChessboard},
                         {"3x3", Chamfer3x3},
                         {"5x5", Chamfer5x5},
                         {"7x7", Chamfer7x7},
                         {"13x13", Chamfer13x13}},
                        "steps of the path, 5x5 if not given");
        settings.flag("scaled", options->isScaled,
                      "16-bit samples with the farthest pixel white, for formats without floats");
        return [options]() -> Filter {
            return
                [options](const Image& picture, Frame& frame) { return distance(picture, frame, *options); };
        };
    }};

}  // namespace ko::tool
