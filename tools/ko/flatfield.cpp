// ko flatfield: pictures without the shading of the lens and the unevenness of the sensor.
#include "channels.h"
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "image_file.h"
#include "toning.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    std::string background;
    std::string dark;
};

template <class T>
void subtractRows(Image& image, const Image& dark)
{
    const std::int64_t samples = std::int64_t{image->width} * image->channels;
    for (int y = 0; y < image->height; ++y) {
        T* to = rowOf<T>(image, y);
        const T* from = rowOf<T>(dark, y);
        for (std::int64_t x = 0; x < samples; ++x)
            to[x] = static_cast<T>(to[x] > from[x] ? to[x] - from[x] : 0);
    }
}

/// Takes the dark picture off, not below 0.
void subtract(Image& image, const Image& dark)
{
    if (image->dataType == UInt8)
        subtractRows<std::uint8_t>(image, dark);
    else
        subtractRows<std::uint16_t>(image, dark);
}

/// Mean over the colours.
double meanLevel(const Image& picture)
{
    double sum = 0;
    for (int channel = 0; channel < toneChannels(*picture); ++channel) {
        double mean = 0;
        const Image samples = channelOf(picture, channel);
        require(MeanStdDevMasked(*samples, *maskOfOnes(*samples), &mean, nullptr), "MeanStdDevMasked");
        sum += mean;
    }
    return sum / toneChannels(*picture);
}

/// The pictures that all others are corrected with.
struct Correction {
    Image background;  ///< without the dark picture
    std::optional<Image> dark;
    double level;  ///< mean of the background
};

Correction readCorrection(const Options& options)
try {
    Correction correction{readImage(options.background), std::nullopt, 0};
    requireTones(*correction.background);
    if (!options.dark.empty()) {
        correction.dark.emplace(readImage(options.dark));
        if (const std::string difference = differenceOf(**correction.dark, *correction.background);
            !difference.empty())
            throw Failure(options.dark, difference + options.background);
        subtract(correction.background, *correction.dark);
    }
    correction.level = meanLevel(correction.background);
    if (correction.level == 0)
        throw std::runtime_error("nothing in it is brighter than black");
    return correction;
} catch (const Failure&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(options.background, error.what());
}

Image correct(const Image& picture, const Correction& correction, const Options& options, Frame& frame)
{
    if (const std::string difference = differenceOf(*picture, *correction.background); !difference.empty())
        throw std::runtime_error(difference + options.background);
    Image source = copyOf(picture);
    if (correction.dark)
        subtract(source, *correction.dark);
    Image result(*picture);
    // With the background's mean as the gain, what is as bright as the background comes out at that level.
    std::unique_ptr<double[]> gains(new double[3]{correction.level, correction.level, correction.level});
    ResultCode status = ResultOk;
    timed(frame,
          [&] { status = CorrectBackground(*source, *correction.background, *result, 0, 0, gains.get()); });
    // The operation has taken the gains over unless it has refused an argument.
    if (status == ResultOk || status == ResultFailed)
        static_cast<void>(gains.release());
    require(status, "CorrectBackground");
    keepAlpha(picture, result);
    return result;
}

int run(const Options& options)
{
    const Correction correction = readCorrection(options);
    return runFilter(options.files, [&](const Image& picture, Frame& frame) {
        return correct(picture, correction, options, frame);
    });
}

}  // namespace

const Command flatfieldCommand{
    "Tone", "flatfield", "Divide pictures by one of an even background, at the background's mean level",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command
            .add_option("--background", options->background,
                        "picture of something even, in the format of the inputs")
            ->required();
        command.add_option("--dark", options->dark, "picture without light, taken off both");
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
