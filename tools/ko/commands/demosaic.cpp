// ko demosaic: from mosaics to colour pictures.
#include "cli/failure.h"
#include "commands/operations.h"
#include "commands/work_buffers.h"
#include "io/geometry.h"
#include "io/mosaic.h"
#include "io/parts.h"

#include <memory>
#include <new>

namespace ko::tool {
namespace {

struct Options {
    MosaicOptions mosaic;
    QRect region;
    bool isHalf = false;
};

class Demosaicing {
public:
    explicit Demosaicing(const Options& options) : m_options(options) {}

    Image run(const Image& picture, Frame& frame)
    {
        const SxImageBuf mosaic = mosaicOf(picture, m_options.mosaic);
        const QRect region = regionIn(mosaic, m_options.region);
        requireEven(region.size(), "; choose an even part with --roi");
        const int scale = m_options.isHalf ? 2 : 1;
        Image result(resized(mosaic, region.width() / scale, region.height() / scale, 3));
        if (m_options.isHalf)
            timed(frame, [&] {
                require(DemosaicSimple(mosaic, region, *result, mosaic.bayerGrid), "DemosaicSimple");
            });
        else
            demosaic(mosaic, region, result, frame);
        return result;
    }

private:
    void demosaic(const SxImageBuf& mosaic, const QRect& region, Image& result, Frame& frame)
    {
        const auto make = [&] {
            void* const buffer = DemosaicAllocBuffer(mosaic, region);
            if (!buffer)
                throw std::bad_alloc();
            return buffer;
        };
        m_buffers.lend(
            {mosaic.dataType, mosaic.bitsPerSample, mosaic.bayerGrid, region.width(), region.height()}, make,
            [&](void* buffer) {
                timed(frame, [&] { require(Demosaic(mosaic, region, *result, buffer), "Demosaic"); });
            });
    }

    Options m_options;
    WorkBuffers m_buffers{DemosaicFreeBuffer};
};

}  // namespace

const Operation demosaicOperation{
    "Demosaicing", "demosaic", "Turn camera raws and mosaic pictures into colour pictures",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        addMosaicSettings(settings, options->mosaic);
        settings.region("roi", options->region, "only this part, of even width and height");
        settings.flag("half", options->isHalf, "one pixel per 2 x 2 cell, without interpolation");
        return [options]() -> Filter {
            auto demosaicing = std::make_shared<Demosaicing>(*options);
            return [demosaicing](const Image& picture, Frame& frame) {
                return demosaicing->run(picture, frame);
            };
        };
    },
    true};

}  // namespace ko::tool
