// ko demosaic: from mosaics to colour pictures.
#include "commands/demosaicer.h"
#include "commands/operations.h"
#include "io/geometry.h"
#include "io/mosaic.h"

#include <memory>

namespace ko::tool {
namespace {

struct Options {
    MosaicOptions mosaic;
    QRect region;
    Method method = Linear;
    bool isHalf = false;
};

}  // namespace

const Operation demosaicOperation{
    "Demosaicing", "demosaic", "Turn camera raws and mosaic pictures into colour pictures",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        addMosaicSettings(settings, options->mosaic);
        settings.region("roi", options->region,
                        "only this part; of even width and height for linear and --half");
        settings.choice("method", options->method, {{"linear", Linear}, {"malvar", Malvar}, {"menon", Menon}},
                        "linear if not given, which moves the picture by a pixel; menon is the sharpest");
        settings.flag("half", options->isHalf, "one pixel per 2 x 2 cell, without interpolation");
        settings.rule([o = options.get()] { return !o->isHalf || o->method == Linear; },
                      "either --half or --method can be wanted");
        return [options]() -> Filter {
            auto demosaicer = std::make_shared<Demosaicer>(options->isHalf ? Half : options->method);
            return [options, demosaicer](const Image& picture, Frame& frame) {
                const SxImageBuf mosaic = mosaicOf(picture, options->mosaic, frame.sensor);
                return demosaicer->run(mosaic, regionIn(mosaic, options->region),
                                       "; choose an even part with --roi", frame);
            };
        };
    },
    true};

}  // namespace ko::tool
