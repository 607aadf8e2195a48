// ko threshold: pictures of two levels.
#include "channels.h"
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "toning.h"

#include <QVariant>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    std::optional<double> above;
    std::optional<double> low;
    std::optional<double> high;
    bool isOtsu = false;
};

struct Range {
    double least;
    double greatest;
};

bool isFloating(const SxImageInfo& format)
{
    return format.dataType == Float32 || format.dataType == Float64;
}

/// What integer samples can be, as far as doubles tell neighbouring numbers apart.
Range rangeOf(const SxImageInfo& format)
{
    constexpr double exact = 9007199254740992;  // 2^53
    const bool isSigned = format.dataType == Int8 || format.dataType == Int16 || format.dataType == Int32 ||
                          format.dataType == Int64;
    const double size = std::ldexp(1.0, format.bitsPerSample - (isSigned ? 1 : 0));
    return {isSigned ? std::max(-size, -exact) : 0, std::min(size - 1, exact)};
}

/// A number from the command line as a sample.
QVariant sampleOf(const SxImageInfo& format, double number)
{
    if (isFloating(format))
        return number;
    const Range range = rangeOf(format);
    if (number != std::trunc(number) || number < range.least || number > range.greatest) {
        std::ostringstream text;
        text << number << " is no level of its samples of " << format.bitsPerSample << " bits";
        throw std::runtime_error(text.str());
    }
    return static_cast<qlonglong>(number);
}

double white(const SxImageInfo& format)
{
    return isFloating(format) ? 1 : rangeOf(format).greatest;
}

Image threshold(const Image& picture, const Options& options, Frame& frame)
{
    if (options.isOtsu)
        requireLevels(*picture);
    const auto channels = static_cast<std::size_t>(picture->channels);
    const std::vector<QVariant> lows(channels, sampleOf(*picture, options.low.value_or(0)));
    const std::vector<QVariant> highs(channels, sampleOf(*picture, options.high.value_or(white(*picture))));
    std::vector<QVariant> thresholds;
    for (int channel = 0; channel < picture->channels; ++channel)
        thresholds.push_back(options.isOtsu ? QVariant(otsuThreshold(channelOf(picture, channel)))
                                            : sampleOf(*picture, *options.above));
    Image result(*picture);
    timed(frame, [&] {
        require(ThresholdBinary(*picture, *result, thresholds.data(), lows.data(), highs.data()),
                "ThresholdBinary");
    });
    keepAlpha(picture, result);
    return result;
}

int run(const Options& options)
{
    if (options.isOtsu == options.above.has_value())
        throw UsageError("either --above or --otsu is wanted");
    return runFilter(options.files,
                     [&](const Image& picture, Frame& frame) { return threshold(picture, options, frame); });
}

}  // namespace

const Command thresholdCommand{
    "Tone", "threshold", "Give every sample one of two levels", [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command.add_option("--above", options->above, "samples above this level become high, others low");
        command.add_flag("--otsu", options->isOtsu, "Otsu's threshold of each channel instead of --above");
        command.add_option("--low", options->low, "0 if not given");
        command.add_option("--high", options->high, "white if not given, 1.0 for floats");
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
