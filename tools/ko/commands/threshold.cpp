// ko threshold: pictures of two levels, or without their dark ones.
#include "cli/failure.h"
#include "commands/channels.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/levels.h"
#include "io/masks.h"
#include "io/parts.h"

#include <QVariant>

#include <algorithm>

namespace ko::tool {
namespace {

struct Options {
    std::optional<double> above, low, high;
    bool isOtsu = false;
    bool keepsBright = false;
    bool marks = false;
    std::string mask;
};

/// What the samples of every channel are compared with and become.
struct Levels {
    std::vector<QVariant> thresholds, lows, highs;
};

Levels levelsFor(const Image& picture, const Options& options)
{
    if (options.isOtsu)
        requireLevels(*picture);
    Levels levels;
    const auto channels = static_cast<std::size_t>(picture->channels);
    levels.lows.assign(channels, sampleOf(*picture, options.low.value_or(0)));
    levels.highs.assign(channels, sampleOf(*picture, options.high.value_or(whiteOf(*picture))));
    for (int channel = 0; channel < picture->channels; ++channel)
        levels.thresholds.push_back(
            options.isOtsu ? QVariant(otsuThreshold(countLevels({{}, channelOf(picture, channel), {}})))
                           : sampleOf(*picture, *options.above));
    return levels;
}

/// 8-bit marks whatever the samples are. An alpha channel is left out.
Image mark(const Image& picture, const Options& options, Frame& frame)
{
    Options asked = options;
    asked.high.reset();  // a level of the marks, not of the picture
    const Levels levels = levelsFor(picture, asked);
    const double high = options.high.value_or(255);
    std::vector<unsigned char> highs(static_cast<std::size_t>(picture->channels));
    Image result(makeFormat(picture->width, picture->height, toneChannels(*picture), UInt8));
    std::ranges::fill(highs, static_cast<unsigned char>(sampleOf(*result, high).toUInt()));
    timed(frame, [&] {
        require(ThresholdBinaryGT(*picture, *result, levels.thresholds.data(), highs.data(), true),
                "ThresholdBinaryGT");
    });
    return result;
}

Image darken(const Image& picture, const Options& options, Frame& frame)
{
    const Levels levels = levelsFor(picture, options);
    Image result = copyOf(picture);
    timed(frame, [&] {
        require(ThresholdGT(*result, levels.thresholds.data(), levels.lows.data(), true), "ThresholdGT");
    });
    return result;
}

Image divide(const Image& picture, const Options& options, const Mask* mask, Frame& frame)
{
    const Levels levels = levelsFor(picture, options);
    Image result(*picture);
    timed(frame, [&] {
        if (mask)
            require(ThresholdBinaryMasked(*picture, *mask->of(*picture), *result, levels.thresholds.data(),
                                          levels.lows.data(), levels.highs.data()),
                    "ThresholdBinaryMasked");
        else
            require(ThresholdBinary(*picture, *result, levels.thresholds.data(), levels.lows.data(),
                                    levels.highs.data()),
                    "ThresholdBinary");
    });
    return result;
}

Image threshold(const Image& picture, const Options& options, const Mask* mask, Frame& frame)
{
    Image result = options.marks         ? mark(picture, options, frame)
                   : options.keepsBright ? darken(picture, options, frame)
                                         : divide(picture, options, mask, frame);
    // The masked operation treats all pixels alike.
    if (mask)
        require(MaskImage(*result, *mask->of(*picture)), "MaskImage");
    if (!options.marks)
        keepAlpha(picture, result);
    return result;
}

}  // namespace

const Operation thresholdOperation{
    "Pixels", "threshold", "Give every sample one of two levels",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.number("above", options->above, finiteNumbers,
                        "samples above this level become high, others low");
        settings.flag("otsu", options->isOtsu, "Otsu's threshold of each channel instead of above");
        settings.number("low", options->low, finiteNumbers, "0 if not given");
        settings.number("high", options->high, finiteNumbers, "white if not given, 1.0 for floats");
        settings.flag("keep", options->keepsBright, "samples above the threshold stay as they are");
        settings.flag("marks", options->marks, "8-bit samples of 0 and high, 255 if not given");
        settings.file("mask", options->mask,
                      "picture of one channel and the same size; black where it is zero");
        const Options* const o = options.get();
        settings.rule([o] { return o->isOtsu != o->above.has_value(); },
                      "either --above or --otsu is wanted");
        settings.rule([o] { return !o->marks || (!o->keepsBright && !o->low); },
                      "--marks goes neither with --keep nor with --low");
        settings.rule([o] { return !o->keepsBright || !o->high; }, "--high has no meaning beside --keep");
        return [options]() -> Filter {
            return [options, mask = readMask(options->mask)](const Image& picture, Frame& frame) {
                return threshold(picture, *options, mask.get(), frame);
            };
        };
    }};

}  // namespace ko::tool
