// ko demosaic: from mosaics to colour pictures.
#include "bayer.h"
#include "failure.h"
#include "geometry.h"
#include "levels.h"
#include "operations.h"
#include "parts.h"
#include "work_buffers.h"

#include <memory>
#include <new>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    ExBayerGrid grid = BayerNone;  ///< BayerNone: as the file says
    int bits = 0;                  ///< 0: as the file says
    QRect region;
    bool isHalf = false;
};

class Demosaicing {
public:
    explicit Demosaicing(const Options& options) : m_options(options) {}

    Image run(const Image& picture, Frame& frame)
    {
        const SxImageBuf mosaic = mosaicOf(picture);
        const QRect region = regionIn(mosaic, m_options.region);
        if (region.width() % 2 != 0 || region.height() % 2 != 0)
            throw std::runtime_error("odd size, " + std::to_string(region.width()) + " x " +
                                     std::to_string(region.height()) + "; choose an even part with roi");
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
    /// The picture with what the options override, fit for the library.
    SxImageBuf mosaicOf(const Image& picture) const
    {
        SxImageBuf mosaic = *picture;
        if (mosaic.channels != 1)
            throw std::runtime_error("not a mosaic but a picture of " + std::to_string(mosaic.channels) +
                                     " channels");
        if (!hasLevels(mosaic))
            throw std::runtime_error("the samples of a mosaic must be unsigned of 8 or 16 bits");
        if (m_options.grid != BayerNone)
            mosaic.bayerGrid = m_options.grid;
        if (mosaic.bayerGrid == BayerNone)
            throw std::runtime_error("the file names no mosaic pattern; say it with grid");
        if (m_options.bits > 8 * bytesPerSample(mosaic.dataType))
            throw std::runtime_error("its samples have fewer than " + std::to_string(m_options.bits) +
                                     " bits");
        if (m_options.bits != 0)
            mosaic.bitsPerSample = m_options.bits;
        return mosaic;
    }

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
        settings.choice("grid", options->grid, gridWords(), "mosaic pattern, instead of what the file says");
        settings.whole("bits", options->bits, {8, 16},
                       "significant bits of a sample, instead of what the file says");
        settings.region("roi", options->region, "only this part, of even width and height");
        settings.flag("half", options->isHalf, "one pixel per 2 x 2 cell, without interpolation");
        return [options]() -> Filter {
            auto demosaicing = std::make_shared<Demosaicing>(*options);
            return [demosaicing](const Image& picture, Frame& frame) {
                return demosaicing->run(picture, frame);
            };
        };
    }};

}  // namespace ko::tool
