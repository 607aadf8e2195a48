#include "io/mosaic.h"

#include "io/bayer.h"
#include "io/levels.h"

#include <stdexcept>

namespace ko::tool {

void addMosaicSettings(Settings& settings, MosaicOptions& options)
{
    settings.choice("grid", options.grid, gridWords(), "mosaic pattern, instead of what the file says");
    settings.whole("bits", options.bits, {8, 16},
                   "significant bits of a sample, instead of what the file says");
}

SxImageBuf mosaicOf(const Image& picture, const MosaicOptions& options, const Sensor* sensor)
{
    SxImageBuf mosaic = *picture;
    if (mosaic.channels != 1)
        throw std::runtime_error("not a mosaic but a picture of " + std::to_string(mosaic.channels) +
                                 " channels");
    if (!hasLevels(mosaic))
        throw std::runtime_error("the samples of a mosaic must be unsigned of 8 or 16 bits");
    if (options.grid != BayerNone)
        mosaic.bayerGrid = options.grid;
    if (mosaic.bayerGrid == BayerNone && sensor && sensor->isMonochrome)
        throw std::runtime_error(
            "its sensor is monochrome, so there is no mosaic; develop makes a gray picture of it");
    if (mosaic.bayerGrid == BayerNone)
        throw std::runtime_error("the file names no mosaic pattern; say it with --grid");
    if (options.bits > 8 * bytesPerSample(mosaic.dataType))
        throw std::runtime_error("its samples have fewer than " + std::to_string(options.bits) + " bits");
    if (options.bits != 0)
        mosaic.bitsPerSample = options.bits;
    return mosaic;
}

void requireEven(const QSize& size, const std::string& advice)
{
    if (size.width() % 2 != 0 || size.height() % 2 != 0)
        throw std::runtime_error("a mosaic of odd size, " + std::to_string(size.width()) + " x " +
                                 std::to_string(size.height()) + advice);
}

}  // namespace ko::tool
