// ko flatfield: pictures without the shading of the lens and the unevenness of the sensor.
#include "cli/failure.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/image_file.h"
#include "io/masks.h"
#include "io/parts.h"

#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    std::string background;
    std::string dark;
    std::vector<double> factors;
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
    std::vector<double> means(static_cast<std::size_t>(picture->channels));
    require(MeanMasked(*picture, *maskOfOnes(*picture), means.data()), "MeanMasked");
    means.resize(static_cast<std::size_t>(toneChannels(*picture)));
    return std::accumulate(means.begin(), means.end(), 0.0) / static_cast<double>(means.size());
}

/// The pictures that all others are corrected with.
struct Correction {
    Image background;  ///< without the dark picture
    std::optional<Image> dark;
    double level;  ///< mean of the background
};

Correction readCorrection(const Options& options)
try {
    Correction correction{readAside(options.background), std::nullopt, 0};
    requireTones(*correction.background);
    if (!options.dark.empty()) {
        correction.dark.emplace(readAside(options.dark));
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

/// With the background's mean as the gain, what is as bright as the background comes out at that level.
void divideByMean(const Image& source, const Correction& correction, Image& result, Frame& frame)
{
    std::unique_ptr<double[]> gains(new double[3]{correction.level, correction.level, correction.level});
    ResultCode status = ResultOk;
    timed(frame,
          [&] { status = CorrectBackground(*source, *correction.background, *result, 0, 0, gains.get()); });
    // The operation has taken the gains over unless it has refused an argument.
    if (status == ResultOk || status == ResultFailed)
        static_cast<void>(gains.release());
    require(status, "CorrectBackground");
}

/// In place. Limits to one level more than there is, hence the clamp.
void divideByFactors(Image& image, const Correction& correction, std::vector<double> factors, Frame& frame)
{
    if (image->bitsPerSample == 16)
        throw std::runtime_error("factors go with depths below 16 bits only");
    if (factors.size() == 1)
        factors.assign(static_cast<std::size_t>(toneChannels(*image)), factors.front());
    if (static_cast<int>(factors.size()) != toneChannels(*image))
        throw std::runtime_error("has " + std::to_string(toneChannels(*image)) + " channels, there are " +
                                 std::to_string(factors.size()) + " factors");
    timed(frame, [&] {
        require(BackgroundCorrection(*correction.background, *image, toneChannels(*image), factors.data()),
                "BackgroundCorrection");
        require(ClampToColorDepth(*image), "ClampToColorDepth");
    });
}

Image correct(const Image& picture, const Correction& correction, const Options& options, Frame& frame)
{
    if (const std::string difference = differenceOf(*picture, *correction.background); !difference.empty())
        throw std::runtime_error(difference + options.background);
    Image source = copyOf(picture);
    if (correction.dark)
        subtract(source, *correction.dark);
    if (options.factors.empty()) {
        Image result(*picture);
        divideByMean(source, correction, result, frame);
        source = std::move(result);
    } else {
        divideByFactors(source, correction, options.factors, frame);
    }
    keepAlpha(picture, source);
    return source;
}

}  // namespace

const Operation flatfieldOperation{
    "Tone", "flatfield", "Divide pictures by one of an even background, at the background's mean level",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings
            .file("background", options->background, "picture of something even, in the format of the inputs")
            .isRequired = true;
        settings.file("dark", options->dark, "picture without light, taken off both");
        settings.numbers("factors", options->factors, {0, 1e9}, 3, "F[,F,F]",
                         "multiply by these instead of by the mean, one for all channels or one for each; "
                         "samples stay where the background is black");
        return [options]() -> Filter {
            auto correction = std::make_shared<const Correction>(readCorrection(*options));
            return [options, correction](const Image& picture, Frame& frame) {
                return correct(picture, *correction, *options, frame);
            };
        };
    }};

}  // namespace ko::tool
