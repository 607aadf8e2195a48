// ko mask: masks as pictures, 255 inside and 0 outside unless told otherwise.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "io/image_file.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <numbers>

namespace ko::tool {
namespace {

struct Options {
    std::string output;
    std::string picture;
    int a = 1, b = 1;
    double degrees = 0;
    int size = 2;
    unsigned value = 0;
    std::vector<double> inside, outside;
    std::optional<int> quality;
    Settings colours;
};

/// Three bytes; a single number stands for all of them.
std::array<unsigned char, 3> bytesOf(const std::vector<double>& numbers, unsigned char otherwise)
{
    std::array<unsigned char, 3> bytes{otherwise, otherwise, otherwise};
    for (std::size_t i = 0; i < bytes.size() && !numbers.empty(); ++i)
        bytes[i] = static_cast<unsigned char>(numbers[std::min(i, numbers.size() - 1)]);
    return bytes;
}

Image ellipse(const Options& options)
{
    if (options.b > options.a)
        throw UsageError("the second semi-axis must not be the larger one");
    if (options.inside.size() == 2 || options.outside.size() == 2)
        throw UsageError("a colour is one number or three");
    const auto inside = bytesOf(options.inside, 255);
    const auto outside = bytesOf(options.outside, 0);
    const double angle = options.degrees * std::numbers::pi / 180;
    SxImageBuf drawn;
    if (options.inside.size() == 3 || options.outside.size() == 3)
        require(EllipseMaskRgb(drawn, options.a, options.b, angle, outside.data(), inside.data()),
                "EllipseMaskRgb");
    else
        require(EllipseMaskMono(drawn, options.a, options.b, angle, outside[0], inside[0]),
                "EllipseMaskMono");
    return Image::owning(drawn);
}

Image circle(const Options& options)
{
    const unsigned char* disc = nullptr;
    if (!GetCircleMaskByte(options.size, &disc))
        throw UsageError("there are discs of 2 to 15 pixels");
    Image result(makeFormat(options.size, options.size, 1, UInt8));
    for (int y = 0; y < options.size; ++y)
        require(MemCpy(rowOf<std::uint8_t>(result, y), disc + y * options.size,
                       static_cast<std::uint64_t>(options.size), result->memoryTag, 0),
                "MemCpy");
    require(Binarize(*result, *result, 255), "Binarize");
    return result;
}

/// The pixels that differ from the value, in any channel.
Image fromValue(const Options& options)
{
    const Image picture = readImage(options.picture);
    if (picture->dataType != UInt16 || picture->channels != 1)
        throw Failure(options.picture, "the comparison with a value wants mono pictures of 16 bits");
    Image result(makeFormat(picture->width, picture->height, 1, UInt8));
    require(BinaryMask(*picture, *result, options.value), "BinaryMask");
    require(Binarize(*result, *result, 255), "Binarize");
    return result;
}

/// One kind of mask as a subcommand of its own.
CLI::App* addKind(CLI::App& command, const char* name, const char* summary, Options& options)
{
    CLI::App* const kind = command.add_subcommand(name, summary);
    kind->add_option("-o,--output", options.output, "mask")->required();
    declareQuality(*kind, options.quality);
    return kind;
}

}  // namespace

const Command maskCommand{
    "Masks and borders", "mask", "Make a mask, 255 inside and 0 outside",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        command.require_subcommand(1);
        CLI::App* const ellipses =
            addKind(command, "ellipse", "Filled ellipse in the smallest picture", *options);
        ellipses->add_option("a", options->a, "larger semi-axis in pixels")
            ->required()
            ->check(CLI::Range(1, 1 << 14));
        ellipses->add_option("b", options->b, "smaller semi-axis in pixels")
            ->required()
            ->check(CLI::Range(1, 1 << 14));
        ellipses->add_option("--angle", options->degrees, "of the larger axis, degrees clockwise");
        options->colours.numbers(
            "inside", options->inside, {0, 255}, 3, "N[,N,N]",
            "level or colour inside, 255 if not given; three numbers make a colour picture");
        options->colours.numbers("outside", options->outside, {0, 255}, 3, "N[,N,N]",
                                 "level or colour outside, 0 if not given");
        options->colours.declare(*ellipses);
        CLI::App* const circles = addKind(command, "circle", "Drawn disc of 2 to 15 pixels", *options);
        circles->add_option("size", options->size, "diameter in pixels")
            ->required()
            ->check(CLI::Range(2, 15));
        CLI::App* const values = addKind(command, "from-value", "Pixels that differ from a value", *options);
        values->add_option("picture", options->picture, "mono picture of 16 bits")->required();
        values->add_option("--value", options->value, "sample value outside the mask")->required();
        return [options, ellipses, circles] {
            writeImage(ellipses->parsed()  ? ellipse(*options)
                       : circles->parsed() ? circle(*options)
                                           : fromValue(*options),
                       options->output, {}, options->quality);
            return ExitOk;
        };
    }};

}  // namespace ko::tool
