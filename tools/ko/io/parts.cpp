#include "io/parts.h"

#include "cli/failure.h"
#include "io/bayer.h"

#include <cstring>

namespace ko::tool {

Image copyOf(const Image& picture)
{
    Image copy(*picture);
    require(CopyBuffer(*picture, wholeOf(*picture), *copy, QPoint(), false), "CopyBuffer");
    return copy;
}

Image cleared(const SxImageInfo& format)
{
    Image image(format);
    std::memset(image->data, 0, imageByteSize(*image));
    return image;
}

Image cropOf(const Image& picture, const QRect& region)
{
    SxImageInfo format = *picture;
    format.width = region.width();
    format.height = region.height();
    format.bayerGrid = gridAt(picture->bayerGrid, region.x(), region.y());
    Image part(format);
    require(CopyBuffer(*picture, region, *part, QPoint(), false), "CopyBuffer");
    return part;
}

Image channelOf(const Image& picture, int channel)
{
    Image samples(resized(*picture, picture->width, picture->height, 1));
    require(CopyChannel(*picture, ChannelIndexLogicalToPhysical(channel, *picture), *samples, 0),
            "CopyChannel");
    return samples;
}

Image planesOf(const Image& mosaic, const QRect& region, ExBayerGrid grid)
{
    SxImageInfo format = resized(*mosaic, region.width() / 2, region.height() / 2, 4);
    format.packing = Planar;
    Image planes(format);
    require(ConvertRawToPlanarRaw(*mosaic, region, grid, *planes), "ConvertRawToPlanarRaw");
    return planes;
}

QRect wholeOf(const SxImageInfo& format)
{
    return {0, 0, format.width, format.height};
}

SxImageInfo resized(const SxImageInfo& format, int width, int height, int channels)
{
    SxImageInfo result = makeFormat(width, height, channels, format.dataType);
    result.bitsPerSample = format.bitsPerSample;
    return result;
}

}  // namespace ko::tool
