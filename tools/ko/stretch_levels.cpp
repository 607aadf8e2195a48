// ko stretch-levels: a band of levels spread over all of them.
#include "channels.h"
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "toning.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    std::optional<int> low;
    std::optional<int> high;
    std::optional<double> percent;
};

struct Band {
    int low;
    int high;
};

/// The first level in the order given at which more than `limit` samples have been passed.
template <class Iterator>
std::ptrdiff_t levelBehind(Iterator begin, double limit)
{
    double passed = *begin;
    Iterator level = begin;
    while (passed <= limit)
        passed += *++level;
    return level - begin;
}

/// The band that leaves out `percent` of the samples of all colours at each end.
Band automaticBand(const Image& picture, double percent)
{
    const int levels = 1 << picture->bitsPerSample;
    CxImageHistogram histogram;
    histogram.resize(toneChannels(*picture), levels, 0);
    require(Histogram(*picture, histogram), "Histogram");
    std::vector<double> counts(static_cast<std::size_t>(levels));
    for (int plane = 0; plane < histogram.planes; ++plane)
        std::transform(counts.begin(), counts.end(), histogram.bins[plane], counts.begin(), std::plus());
    const double limit = std::accumulate(counts.begin(), counts.end(), 0.0) * percent / 100;
    return {static_cast<int>(levelBehind(counts.begin(), limit)),
            static_cast<int>(levels - 1 - levelBehind(counts.rbegin(), limit))};
}

template <class T>
void lowerRows(Image& image, int high)
{
    const std::int64_t samples = std::int64_t{image->width} * image->channels;
    for (int y = 0; y < image->height; ++y)
        for (T* sample = rowOf<T>(image, y); sample < rowOf<T>(image, y) + samples; ++sample)
            *sample = std::min(*sample, static_cast<T>(high));
}

/// Lowers what is above the band to its end, so that stretching makes it white and not black.
void lowerTo(Image& image, int high)
{
    if (image->dataType == UInt8)
        lowerRows<std::uint8_t>(image, high);
    else
        lowerRows<std::uint16_t>(image, high);
}

Image stretch(const Image& picture, const Options& options, Frame& frame)
{
    requireTones(*picture);
    const Band band =
        options.percent ? automaticBand(picture, *options.percent) : Band{*options.low, *options.high};
    if (band.low >= band.high)
        throw std::runtime_error("all that counts has level " + std::to_string(band.low));
    if (band.high >= 1 << picture->bitsPerSample)
        throw std::runtime_error("its levels of " + std::to_string(picture->bitsPerSample) +
                                 " bits end below " + std::to_string(band.high));
    Image result = copyOf(picture);
    if (options.percent)
        lowerTo(result, band.high);
    timed(frame, [&] {
        for (int channel = 0; channel < toneChannels(*result); ++channel)
            require(ThresholdAndStretchHistogram(*result, channel, band.low, band.high),
                    "ThresholdAndStretchHistogram");
    });
    keepAlpha(picture, result);
    return result;
}

int run(const Options& options)
{
    const bool hasBand = options.low && options.high;
    if (hasBand == options.percent.has_value())
        throw UsageError("either --low and --high or --auto is wanted");
    if (hasBand && *options.low >= *options.high)
        throw UsageError("--low must be below --high");
    return runFilter(options.files,
                     [&](const Image& picture, Frame& frame) { return stretch(picture, options, frame); });
}

}  // namespace

const Command stretchLevelsCommand{
    "Tone", "stretch-levels", "Spread a band of levels over all levels, the same band for all colours",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        CLI::Option* low =
            command.add_option("--low", options->low, "becomes black, as does every level below")
                ->check(CLI::NonNegativeNumber);
        CLI::Option* high =
            command.add_option("--high", options->high, "becomes white; levels above become black, too")
                ->check(CLI::NonNegativeNumber)
                ->needs(low);
        low->needs(high);
        command
            .add_option(
                "--auto", options->percent,
                "band that leaves out this percentage of the samples at each end; those above become white")
            ->check(CLI::Range(0.0, 49.0))
            ->excludes(low);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
