// ko stretch-levels: a band of levels spread over all of them.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/masks.h"
#include "io/parts.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    std::optional<int> low;
    std::optional<int> high;
    std::optional<double> percent;
    bool isGreen = false;
    std::string mask;
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

/// The band that leaves out `percent` of the selected samples of all colours at each end.
Band automaticBand(const Image& picture, const Mask* mask, double percent)
{
    const int levels = 1 << picture->bitsPerSample;
    CxImageHistogram histogram;
    histogram.resize(toneChannels(*picture), levels, 0);
    if (mask)
        require(HistogramMasked(*picture, *mask->of(*picture), histogram), "HistogramMasked");
    else
        require(Histogram(*picture, histogram), "Histogram");
    std::vector<double> counts(static_cast<std::size_t>(levels));
    for (int plane = 0; plane < histogram.planes; ++plane)
        std::transform(counts.begin(), counts.end(), histogram.bins[plane], counts.begin(), std::plus());
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0);
    if (total == 0)
        throw std::runtime_error("the mask selects nothing");
    const double limit = total * percent / 100;
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

Band bandFor(const Image& picture, const Options& options, const Mask* mask)
{
    const Band band =
        options.percent ? automaticBand(picture, mask, *options.percent) : Band{*options.low, *options.high};
    if (band.low >= band.high)
        throw std::runtime_error("all that counts has level " + std::to_string(band.low));
    if (band.high >= 1 << picture->bitsPerSample)
        throw std::runtime_error("its levels of " + std::to_string(picture->bitsPerSample) +
                                 " bits end below " + std::to_string(band.high));
    return band;
}

/// The stretched mean of both greens of every cell; black where the mask selects no pixel of it.
Image stretchGreen(const Image& mosaic, const Band& band, const Mask* mask, Frame& frame)
{
    const Image planes = planesOf(mosaic, wholeOf(*mosaic), mosaic->bayerGrid);
    Image green = cleared(resized(*planes, planes->width, planes->height, 1));
    green->packing = Planar;
    timed(frame, [&] {
        if (mask)
            require(ThresholdAndStretchHistogramGreenRawPlanarMasked(
                        *planes, *green, 0, *cellMask(mask->of(*mosaic)), band.low, band.high),
                    "ThresholdAndStretchHistogramGreenRawPlanarMasked");
        else
            require(ThresholdAndStretchHistogramGreenRawPlanar(*planes, *green, 0, band.low, band.high),
                    "ThresholdAndStretchHistogramGreenRawPlanar");
    });
    green->packing = Interleaved;  // the same for one channel
    return green;
}

Image stretch(const Image& picture, const Options& options, const Mask* mask, Frame& frame)
{
    requireTones(*picture);
    if (options.isGreen)
        requireMosaic(*picture);
    const Band band = bandFor(picture, options, mask);
    Image source = copyOf(picture);
    if (options.percent)
        lowerTo(source, band.high);
    if (options.isGreen)
        return stretchGreen(source, band, mask, frame);
    Image result = copyOf(picture);
    timed(frame, [&] {
        for (int channel = 0; channel < toneChannels(*result); ++channel)
            if (mask)
                require(ThresholdAndStretchHistogramMasked(*source, channel, *result, channel,
                                                           *mask->of(*picture), band.low, band.high),
                        "ThresholdAndStretchHistogramMasked");
            else
                require(ThresholdAndStretchHistogram(*source, channel, *result, channel, band.low, band.high),
                        "ThresholdAndStretchHistogram");
    });
    return result;
}

}  // namespace

const Operation stretchLevelsOperation{
    "Tone", "stretch-levels", "Spread a band of levels over all levels, the same band for all colours",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        const Range levels{0, 65535};
        settings.whole("low", options->low, levels, "becomes black, as does every level below");
        settings.whole("high", options->high, levels, "becomes white; levels above become black, too");
        settings.number(
            "auto", options->percent, {0, 49},
            "band that leaves out this percentage of the samples at each end; those above become white");
        settings.flag("green", options->isGreen, "the mean of both greens of a mosaic, at half the size");
        settings.file("mask", options->mask,
                      "picture of one channel and the same size; only where it is not zero");
        const Options* const o = options.get();
        settings.rule(
            [o] {
                return o->low.has_value() == o->high.has_value() &&
                       o->low.has_value() != o->percent.has_value();
            },
            "either --low and --high or --auto is wanted");
        settings.rule([o] { return !o->low || *o->low < *o->high; }, "--low must be below --high");
        return [options]() -> Filter {
            return [options, mask = readMask(options->mask)](const Image& picture, Frame& frame) {
                return stretch(picture, *options, mask.get(), frame);
            };
        };
    }};

}  // namespace ko::tool
