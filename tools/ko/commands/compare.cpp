// ko compare: how far two pictures are apart.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "io/image_file.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>

namespace ko::tool {
namespace {

struct Options {
    std::string reference;
    std::string picture;
    QPoint shift;
    Settings settings;
};

double sampleAt(const Image& image, int x, int y, int channel)
{
    const std::int64_t at = std::int64_t{x} * image->channels + channel;
    const double white = std::ldexp(1.0, image->bitsPerSample) - 1;
    switch (image->dataType) {
    case UInt8:
        return rowOf<std::uint8_t>(image, y)[at] / white;
    case UInt16:
        return rowOf<std::uint16_t>(image, y)[at] / white;
    default:
        return rowOf<float>(image, y)[at];
    }
}

Image readComparable(const std::string& file)
{
    Image image = readImage(file);
    if (image->dataType != UInt8 && image->dataType != UInt16 && image->dataType != Float32)
        throw Failure(file, "only unsigned samples of 8 or 16 bits and floats can be compared");
    return image;
}

/// Peak signal-to-noise ratio in decibels; infinite where nothing differs.
double psnr(double squares, double samples)
{
    return 10 * std::log10(samples / squares);
}

/// One line: the ratio of each channel and of all samples. Compared is the part that both pictures have once
/// the second one is moved back by the shift.
void printRatios(const Image& reference, const Image& picture, const QPoint& shift)
{
    const int dx = shift.x();
    const int dy = shift.y();
    const int left = std::max(0, -dx);
    const int top = std::max(0, -dy);
    const int right = std::min(reference->width, picture->width - dx);
    const int bottom = std::min(reference->height, picture->height - dy);
    if (left >= right || top >= bottom)
        throw UsageError("the shift leaves nothing to compare");
    const double pixels = static_cast<double>(right - left) * (bottom - top);
    double all = 0;
    std::cout << "shift " << dx << ',' << dy << ", " << right - left << " x " << bottom - top
              << " pixels, PSNR" << std::fixed << std::setprecision(2);
    for (int channel = 0; channel < reference->channels; ++channel) {
        double squares = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) {
                const double difference =
                    sampleAt(reference, x, y, channel) - sampleAt(picture, x + dx, y + dy, channel);
                squares += difference * difference;
            }
        std::cout << ' ' << psnr(squares, pixels);
        all += squares;
    }
    std::cout << " all " << psnr(all, pixels * reference->channels) << " dB\n";
}

int run(const Options& options)
{
    const Image reference = readComparable(options.reference);
    const Image picture = readComparable(options.picture);
    if (reference->channels != picture->channels)
        throw Failure(options.picture, "has another number of channels than " + options.reference);
    if (std::abs(reference->width - picture->width) > 1 || std::abs(reference->height - picture->height) > 1)
        throw Failure(options.picture, "differs in size from " + options.reference);
    printRatios(reference, picture, {});
    if (!options.shift.isNull())
        printRatios(reference, picture, options.shift);
    return ExitOk;
}

}  // namespace

const Command compareCommand{
    "Files", "compare", "Peak signal-to-noise ratio of two pictures",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "reference", options->reference, Need::Required,
                        "what the picture should be like");
        declareArgument(command, "picture", options->picture, Need::Required,
                        "of the reference's size; one row or column more or less is left out");
        options->settings.point("shift", options->shift,
                                "also compare with the picture moved back by this many columns and rows");
        options->settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
