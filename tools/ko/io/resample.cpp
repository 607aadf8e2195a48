#include "io/resample.h"

#include "cli/failure.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <stdexcept>

namespace ko::tool {
namespace {

using OIIO::TypeDesc;

/// The pixels of an image as OpenImageIO sees them.
OIIO::ImageBuf wrapped(const Image& image)
{
    const TypeDesc type = image->dataType == UInt8    ? TypeDesc::UINT8
                          : image->dataType == UInt16 ? TypeDesc::UINT16
                                                      : TypeDesc::FLOAT;
    const OIIO::ImageSpec spec(image->width, image->height, image->channels, type);
    return {spec, image->data, OIIO::AutoStride, image->stride};
}

/// Filters with negative weights go beyond the range of the samples, which the container may not.
void limit(Image& image)
{
    if (image->dataType != UInt16 || image->bitsPerSample == 16)
        return;
    const auto top = static_cast<std::uint16_t>((1 << image->bitsPerSample) - 1);
    const std::int64_t samples = std::int64_t{image->width} * image->channels;
    for (int y = 0; y < image->height; ++y)
        for (std::uint16_t *sample = rowOf<std::uint16_t>(image, y), *end = sample + samples; sample < end;
             ++sample)
            *sample = std::min(*sample, top);
}

}  // namespace

void resample(const Image& picture, Image& result, const std::string& filter, int threads)
{
    const OIIO::ImageBuf source = wrapped(picture);
    OIIO::ImageBuf target = wrapped(result);
    if (!OIIO::ImageBufAlgo::resize(target, source, filter, 0, {}, threads))
        throw std::runtime_error("cannot be resampled: " + firstLine(target.geterror()));
    limit(result);
}

}  // namespace ko::tool
