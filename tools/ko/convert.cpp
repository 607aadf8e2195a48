// ko convert: unsigned pictures of floating-point and wide-integer ones.
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "toning.h"

#include <QVariant>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    ExImageDataType type = UInt16;
    bool isSeparate = false;
    bool isZeroBased = false;
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

Image convert(const Image& picture, const Options& options, Frame& frame)
{
    if (picture->channels > 4)
        throw std::runtime_error("has " + std::to_string(picture->channels) + " channels, at most four fit");
    const bool isMosaic = picture->bayerGrid != BayerNone;
    if (isMosaic && (picture->width % 2 != 0 || picture->height % 2 != 0))
        throw std::runtime_error("a mosaic of odd size");
    if (isMosaic && options.isSeparate && options.isZeroBased)
        throw std::runtime_error("a mosaic can be --zero-based only with one range");
    SxImageInfo format = makeFormat(picture->width, picture->height, picture->channels, options.type);
    format.bayerGrid = picture->bayerGrid;
    Image result(format);
    SxImageBuf source = *picture;
    if (!options.isSeparate)
        source.bayerGrid = BayerNone;  // one range for all positions
    const NormalizationType normalization = options.isSeparate ? NormalizeSeparate : NormalizeJoint;
    switch (source.dataType) {
    case Float32:
        timed(frame, [&] {
            require(ConvertFloatToU(source, *result, normalization, nullptr, nullptr, options.isZeroBased),
                    "ConvertFloatToU");
        });
        break;
    case Float64:
        timed(frame, [&] {
            require(ConvertDoubleToU(source, *result, normalization, nullptr, nullptr, options.isZeroBased),
                    "ConvertDoubleToU");
        });
        break;
    case Int32:
        if (options.isZeroBased)
            throw std::runtime_error("--zero-based is for floating-point samples");
        if (source.channels == 4)
            throw std::runtime_error("integers with an alpha channel cannot be converted");
        requireNarrow(source);
        timed(frame, [&] {
            require(ConvertI32ToU(source, *result, normalization, nullptr, nullptr), "ConvertI32ToU");
        });
        break;
    default:
        throw std::runtime_error("only floating-point samples and signed ones of 32 bits can be converted");
    }
    return result;
}

}  // namespace

const Command convertCommand{
    "Tone", "convert", "Map the range of floating-point or 32-bit samples onto unsigned ones",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command
            .add_option_function<std::string>(
                "--to",
                [raw = options.get()](const std::string& name) { raw->type = name == "u8" ? UInt8 : UInt16; },
                "u16 if not given")
            ->check(CLI::IsMember({"u8", "u16"}));
        CLI::Option* joint = command.add_flag("--joint")->description(
            "one range for all channels, or all positions of a mosaic, as without either");
        command.add_flag("--separate", options->isSeparate, "a range for each")->excludes(joint);
        command.add_flag("--zero-based", options->isZeroBased,
                         "ranges start at 0 instead of the least sample");
        return [options] {
            return runFilter(options->files, [&](const Image& picture, Frame& frame) {
                return convert(picture, *options, frame);
            });
        };
    }};

}  // namespace ko::tool
