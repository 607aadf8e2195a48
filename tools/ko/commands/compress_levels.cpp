// ko compress-levels: a band of levels in fewer levels.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/masks.h"
#include "io/parts.h"

#include <cstring>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    int low = 0;
    int high = 0;
    std::string mask;
};

/// A mask for the operation that refuses those of every other one: it wants another type and another size,
/// and reads the bytes at the pixels' places all the same.
Image oddMask(const Image& mask)
{
    Image odd = cleared(makeFormat(mask->width + 1, mask->height + 1, 1, Int8));
    for (int y = 0; y < mask->height; ++y)
        std::memcpy(rowOf<std::uint8_t>(odd, y), rowOf<std::uint8_t>(mask, y),
                    static_cast<std::size_t>(mask->width));
    return odd;
}

/// One colour pixel for every cell of a mosaic.
Image compressMosaic(const Image& mosaic, const Options& o, const Mask* mask, Frame& frame)
{
    requireMosaic(*mosaic);
    const Image planes = planesOf(mosaic, wholeOf(*mosaic), mosaic->bayerGrid);
    SxImageInfo format = resized(*planes, planes->width, planes->height, 3);
    Image result(format);
    format.packing = Planar;
    Image colours = cleared(format);
    timed(frame, [&] {
        if (mask)
            require(ThresholdAndStretchHistogramGrayRawPlanarMasked(
                        *planes, *oddMask(cellMask(mask->of(*mosaic))), *colours, o.low, o.high),
                    "ThresholdAndStretchHistogramGrayRawPlanarMasked");
        else
            require(ThresholdAndStretchHistogramGrayRawPlanar(*planes, *colours, o.low, o.high),
                    "ThresholdAndStretchHistogramGrayRawPlanar");
    });
    for (int channel = 0; channel < 3; ++channel)
        require(CopyChannel(*colours, channel, *result, channel), "CopyChannel");
    return result;
}

Image compress(const Image& picture, const Options& o, const Mask* mask, Frame& frame)
{
    requireTones(*picture);
    if (o.high >= 1 << picture->bitsPerSample)
        throw std::runtime_error("its levels of " + std::to_string(picture->bitsPerSample) +
                                 " bits end below " + std::to_string(o.high));
    if (picture->bayerGrid != BayerNone)
        return compressMosaic(picture, o, mask, frame);
    Image result = cleared(*picture);
    timed(frame, [&] {
        if (mask)
            require(
                ThresholdAndStretchHistogramGrayMasked(*picture, *mask->of(*picture), *result, o.low, o.high),
                "ThresholdAndStretchHistogramGrayMasked");
        else
            require(ThresholdAndStretchHistogramGray(*picture, *result, o.low, o.high),
                    "ThresholdAndStretchHistogramGray");
    });
    keepAlpha(picture, result);
    return result;
}

}  // namespace

const Operation compressLevelsOperation{
    "Tone", "compress-levels",
    "Divide what all levels spread over a band into by the spread, black outside the band",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        const Range levels{0, 65535};
        settings.whole("low", options->low, levels, "becomes 0; pixels with a colour below become black")
            .isRequired = true;
        settings
            .whole("high", options->high, levels, "end of the band; pixels with a colour above become black")
            .isRequired = true;
        settings.file("mask", options->mask,
                      "picture of one channel and the same size; black where it is zero");
        settings.rule([o = options.get()] { return o->low < o->high; }, "--low must be below --high");
        return [options]() -> Filter {
            return [options, mask = readMask(options->mask)](const Image& picture, Frame& frame) {
                return compress(picture, *options, mask.get(), frame);
            };
        };
    }};

}  // namespace ko::tool
