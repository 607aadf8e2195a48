// ko convert: unsigned pictures of floating-point and wide-integer ones.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/masks.h"
#include "io/mosaic.h"
#include "io/parts.h"

#include <QVariant>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    ExImageDataType type = UInt16;
    bool isJoint = false;
    bool isSeparate = false;
    bool isZeroBased = false;
    std::vector<double> range;
    std::string mask;
};

/// Throws where the difference of two samples exceeds the 32 bits that integers are converted in.
void requireNarrow(const SxImageBuf& picture)
{
    std::vector<QVariant> least(static_cast<std::size_t>(picture.channels));
    std::vector<QVariant> greatest(least.size());
    require(MinMax(picture, least.data(), greatest.data()), "MinMax");
    const auto isLess = [](const QVariant& a, const QVariant& b) { return a.toInt() < b.toInt(); };
    if (std::ranges::max_element(greatest, isLess)->toLongLong() -
            std::ranges::min_element(least, isLess)->toLongLong() >
        std::numeric_limits<int>::max())
        throw std::runtime_error("its samples are further apart than 31 bits");
}

void convertIntegers(const SxImageBuf& source, Image& result, const Options& options,
                     NormalizationType normalization)
{
    if (options.isZeroBased || !options.range.empty() || !options.mask.empty())
        throw std::runtime_error("zero-based, range and mask are for floating-point samples");
    if (source.channels == 4)
        throw std::runtime_error("integers with an alpha channel cannot be converted");
    requireNarrow(source);
    require(ConvertI32ToU(source, *result, normalization, nullptr, nullptr), "ConvertI32ToU");
}

void convertDoubles(const SxImageBuf& source, const Image* mask, Image& result, const Options& options,
                    NormalizationType normalization)
{
    if (mask && source.channels == 4)
        throw std::runtime_error("doubles with an alpha channel cannot be converted under a mask");
    if (mask)
        require(ConvertDoubleToUMasked(source, **mask, *result, normalization, nullptr, nullptr),
                "ConvertDoubleToUMasked");
    else
        require(ConvertDoubleToU(source, *result, normalization, nullptr, nullptr, options.isZeroBased),
                "ConvertDoubleToU");
}

/// The conversion for display stores colours in reverse order.
void turnColours(Image& picture)
{
    const Image first = channelOf(picture, 0);
    require(CopyChannel(*picture, 2, *picture, 0), "CopyChannel");
    require(CopyChannel(*first, 0, *picture, 2), "CopyChannel");
}

void convertFloats(const SxImageBuf& source, const Image* mask, Image& result, const Options& options,
                   NormalizationType normalization)
{
    const bool isSeparateMosaic = source.bayerGrid != BayerNone;
    if (mask && options.type != UInt8)
        throw std::runtime_error("floats can be converted under a mask to 8 bits only");
    if (mask)
        require(ConvertFloatToU8(source, **mask, *result, normalization, nullptr, nullptr),
                "ConvertFloatToU8");
    else if (options.type == UInt8 && !options.isZeroBased && !isSeparateMosaic)
        require(ConvertFloatToU8(source, *result, normalization, nullptr, nullptr), "ConvertFloatToU8");
    else
        return require(ConvertFloatToU(source, *result, normalization, nullptr, nullptr, options.isZeroBased),
                       "ConvertFloatToU");
    if (source.channels == 3)
        turnColours(result);
}

void convertInto(Image& result, const Image& picture, const Image* mask, const Options& options)
{
    SxImageBuf source = *picture;
    if (!options.isSeparate || mask)
        source.bayerGrid = BayerNone;  // one range for all positions
    const NormalizationType normalization = options.isSeparate ? NormalizeSeparate : NormalizeJoint;
    if (source.dataType == Int32)
        convertIntegers(source, result, options, normalization);
    else if (source.dataType != Float32 && source.dataType != Float64)
        throw std::runtime_error("only floating-point samples and signed ones of 32 bits can be converted");
    else if (!options.range.empty())
        require(ScaleDoubleFloatToU(source, *result, options.range[0], options.range[1]),
                "ScaleDoubleFloatToU");
    else if (source.dataType == Float64)
        convertDoubles(source, mask, result, options, normalization);
    else
        convertFloats(source, mask, result, options, normalization);
}

Image convert(const Image& picture, const Options& options, const Mask* mask, Frame& frame)
{
    if (picture->channels > 4)
        throw std::runtime_error("has " + std::to_string(picture->channels) + " channels, at most four fit");
    const bool isMosaic = picture->bayerGrid != BayerNone;
    if (isMosaic)
        requireEven({picture->width, picture->height});
    if (isMosaic && options.isSeparate && (options.isZeroBased || mask))
        throw std::runtime_error("a mosaic can be converted zero-based or under a mask only with one range");
    SxImageInfo format = makeFormat(picture->width, picture->height, picture->channels, options.type);
    format.bayerGrid = picture->bayerGrid;
    Image result = cleared(format);
    timed(frame, [&] { convertInto(result, picture, mask ? &mask->of(*picture) : nullptr, options); });
    return result;
}

}  // namespace

const Operation convertOperation{
    "Conversion", "convert", "Map the range of floating-point or 32-bit samples onto unsigned ones",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.choice("to", options->type, {{"u8", UInt8}, {"u16", UInt16}}, "u16 if not given");
        settings.flag("joint", options->isJoint,
                      "one range for all channels, or all positions of a mosaic, as without either");
        settings.flag("separate", options->isSeparate, "a range for each");
        settings.flag("zero-based", options->isZeroBased, "ranges start at 0 instead of the least sample");
        settings.numbers("range", options->range, finiteNumbers, 2, "LEAST,GREATEST",
                         "this range instead of that of the samples");
        settings.file("mask", options->mask,
                      "picture of one channel and the same size: its range, and black where it is zero");
        const Options* const o = options.get();
        settings.rule([o] { return !o->isJoint || !o->isSeparate; },
                      "either --joint or --separate can be wanted");
        settings.rule([o] { return o->range.empty() || (o->range.size() == 2 && o->range[0] < o->range[1]); },
                      "--range: wanted are a smaller and a greater number");
        settings.rule(
            [o] { return o->range.empty() || !(o->isSeparate || o->isZeroBased || !o->mask.empty()); },
            "--range goes without --separate, --zero-based and --mask");
        settings.rule([o] { return o->mask.empty() || !o->isZeroBased; }, "--mask goes without --zero-based");
        return [options]() -> Filter {
            return [options, mask = readMask(options->mask)](const Image& picture, Frame& frame) {
                return convert(picture, *options, mask.get(), frame);
            };
        };
    }};

}  // namespace ko::tool
