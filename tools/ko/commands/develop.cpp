// ko develop: from mosaics to pictures that people look at.
#include "cli/failure.h"
#include "commands/balance.h"
#include "commands/correction.h"
#include "commands/demosaicer.h"
#include "commands/operations.h"
#include "commands/rendering.h"
#include "io/bayer.h"
#include "io/levels.h"
#include "io/mosaic.h"
#include "io/parts.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Where a thing is taken from.
enum From { Best, Camera, GrayWorld, File, Nothing };

struct Options {
    ExBayerGrid grid = BayerNone;
    int black = 0;
    std::optional<int> white;
    Method method = Menon;
    From balance = Best;
    std::vector<double> gains;
    From matrix = Best;
    From corrections = File;
    Curve curve = SrgbCurve;
    std::optional<double> exposure;
    std::optional<double> percent;
    std::optional<int> bits;
    bool isCropped = false;
};

/// The samples in words: the operations keep the type, and 8 bits are too few for linear colours.
Image inWords(const SxImageBuf& mosaic)
{
    SxImageInfo format = mosaic;
    format.dataType = UInt16;
    Image words(format);
    for (int y = 0; y < mosaic.height; ++y)
        std::copy_n(mosaic.data + std::int64_t{y} * mosaic.stride, mosaic.width * mosaic.channels,
                    rowOf<std::uint16_t>(words, y));
    return words;
}

Levels levelsOf(const SxImageBuf& mosaic, const Options& options, const Sensor* sensor)
{
    const int own = sensor ? sensor->white : static_cast<int>(whiteOf(mosaic));
    const Levels levels{options.black, options.white.value_or(own)};
    if (levels.white <= levels.black)
        throw std::runtime_error("its white level " + std::to_string(levels.white) +
                                 " does not lie above the black level " + std::to_string(levels.black));
    return levels;
}

Gains gainsFor(const SxImageBuf& words, Levels levels, const Options& options, const Sensor* sensor)
{
    if (!options.gains.empty())
        return {options.gains[0], options.gains[1], options.gains[2], options.gains[1]};
    const bool isKnown = sensor && sensor->gains;
    if (options.balance == Camera && !isKnown)
        throw std::runtime_error("its file has no white balance of a camera; --wb gray-world estimates one");
    return isKnown && options.balance != GrayWorld ? *sensor->gains : grayWorldGains(words, levels);
}

std::optional<ColourMatrix> matrixFor(const Gains& gains, const Options& options, const Sensor* sensor)
{
    if (options.matrix == Nothing)
        return {};
    const bool isTold = sensor && sensor->matrix;
    const std::optional<ColourMatrix> matrix = isTold ? sensor->matrix(mergedGreens(gains)) : std::nullopt;
    if (options.matrix == Camera && !matrix)
        throw std::runtime_error("its file has no colour matrix of a camera; --matrix none does without");
    return matrix;
}

/// True for samples of a sensor that is known to have no mosaic. Of other pictures without a pattern it is not known.
bool isMonochrome(const Image& picture, const Options& options, const Sensor* sensor)
{
    return sensor && sensor->isMonochrome && options.grid == BayerNone && picture->channels == 1 &&
           hasLevels(*picture);
}

/// True for what a raw has of sensors and software that leave no mosaic. Other pictures of three channels are for
/// screens already.
bool hasAllColours(const Image& picture, const Options& options, const Sensor* sensor)
{
    return sensor && sensor->hasAllColours && options.grid == BayerNone && picture->channels == 3 &&
           hasLevels(*picture);
}

/// Throws where a monochrome sensor is asked for what only colours have.
void requireNoColours(const Options& options)
{
    const auto refuseIf = [](bool isAsked, const std::string& option) {
        if (isAsked)
            throw std::runtime_error("its sensor is monochrome, which leaves nothing to do for " + option);
    };
    refuseIf(!options.gains.empty() || options.balance == Camera, "--wb");
    refuseIf(options.matrix == Camera, "--matrix camera");
    refuseIf(options.method == Half, "--method half");
}

/// What the camera's own picture would show of this one; null where it would show all or the file says nothing.
QRect cropFor(const SxImageBuf& mosaic, const Options& options, const Sensor* sensor)
{
    if (!options.isCropped || !sensor || sensor->crop.isNull())
        return {};
    if (sensor->size != QSize(mosaic.width, mosaic.height))
        throw std::runtime_error("has been cut before, which leaves nothing to do for --crop");
    const QRect& part = sensor->crop;
    if (options.method != Half)
        return part;
    return {part.x() / 2, part.y() / 2, part.width() / 2, part.height() / 2};
}

/// What is to be done to this picture; null for nothing.
const Corrections* correctionsFor(const SxImageBuf& samples, const Options& options, const Sensor* sensor)
{
    if (!sensor || !sensor->corrections || options.corrections == Nothing)
        return nullptr;
    if (!sensor->corrections->applied.empty() && sensor->size != QSize(samples.width, samples.height))
        throw std::runtime_error("has been cut before, so the corrections of its file have no place; "
                                 "--corrections none does without");
    warnOf(*sensor->corrections);
    return sensor->corrections.get();
}

/// The samples as corrected, and their levels. They have 16 bits, so that samples of few bits keep parts of levels.
Image corrected(const SxImageBuf& samples, const Corrections& corrections, Levels& levels)
{
    Image light = balanced(samples, levels, {1, 1, 1, 1});
    levels = {0, 65535};
    repair(light, corrections);
    apply(light, corrections.linear, corrections, LinearCurve, 1);
    return light;
}

Image develop(const Image& picture, const Options& options, Demosaicer& demosaicer, Frame& frame)
{
    const bool isMono = isMonochrome(picture, options, frame.sensor);
    const bool isMosaic = !isMono && !hasAllColours(picture, options, frame.sensor);
    if (isMono)
        requireNoColours(options);
    else if (!isMosaic && options.method == Half)
        throw std::runtime_error("its pixels have all colours, which leaves nothing to do for --method half");
    const SxImageBuf given = isMosaic ? mosaicOf(picture, {options.grid}, frame.sensor) : *picture;
    std::optional<Image> words;
    if (given.dataType == UInt8)
        words = inWords(given);
    const Corrections* const corrections = correctionsFor(given, options, frame.sensor);
    const QRect crop = cropFor(given, options, frame.sensor);
    Levels levels = levelsOf(given, options, frame.sensor);
    Rendering rendering{{},
                        std::exp2(options.exposure.value_or(0)),
                        options.curve,
                        options.bits.value_or(options.curve == LinearCurve ? 16 : 8)};
    Frame inner;  // whose times are part of all
    std::optional<Image> result;
    timed(frame, [&] {
        if (corrections && !(corrections->faulty.empty() && corrections->linear.empty()))
            words = corrected(words ? **words : given, *corrections, levels);
        const SxImageBuf& samples = words ? **words : given;
        const Gains gains = isMono ? Gains{1, 1, 1, 1} : gainsFor(samples, levels, options, frame.sensor);
        if (!isMono)
            rendering.matrix = matrixFor(gains, options, frame.sensor);
        Image light = balanced(samples, levels, gains);
        encode(light, rendering.curve);
        if (isMosaic)
            light = demosaicer.run(*light, wholeOf(*light), "; another --method takes it", inner);
        if (corrections)
            apply(light, corrections->colours, *corrections, rendering.curve, options.method == Half ? 2 : 1);
        if (!crop.isEmpty())
            light = cropOf(light, crop);
        if (options.percent)
            rendering.gain = automaticGain(light, rendering, *options.percent);
        result = rendered(light, rendering);
    });
    frame.sensor = nullptr;  // whose samples these are no more
    return std::move(*result);
}

}  // namespace

const Operation developOperation{
    "Demosaicing", "develop",
    "Develop camera raws and mosaic pictures: white balance, demosaicing, colours of the screen",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.choice("method", options->method, methodWords(),
                        "of demosaicing, menon if not given; half makes one pixel of each 2 x 2 cell");
        settings.choiceOrNumbers(
            "wb", options->balance, {{"camera", Camera}, {"gray-world", GrayWorld}}, options->gains,
            {1e-3, 1e3}, 3, "R,G,B",
            "white balance: the camera's, or so that the mean of the picture is gray, or the gains of red, "
            "green and blue; if not given the camera's where the file has it, otherwise gray-world");
        settings.choice("matrix", options->matrix, {{"camera", Camera}, {"none", Nothing}},
                        "the camera's matrix to sRGB; if not given, where the file has one");
        settings.choice("curve", options->curve, {{"srgb", SrgbCurve}, {"linear", LinearCurve}},
                        "levels for screens, or in proportion to light; srgb if not given");
        settings.number("exposure", options->exposure, {-16, 16}, "stops brighter; below 0 darker");
        settings.number("auto", options->percent, {0, 50},
                        "as bright as this percentage of the pixels in white allows");
        settings.whole("bits", options->bits, {8, 16},
                       "of the result, 8 or 16; if not given 8, with --curve linear 16");
        settings.choice("corrections", options->corrections, {{"file", File}, {"none", Nothing}},
                        "those that a DNG file asks for, or none; file if not given");
        settings.flag("crop", options->isCropped,
                      "the part that the camera's own picture shows, where the file tells it");
        settings.choice("grid", options->grid, gridWords(), "mosaic pattern, instead of what the file says");
        settings.whole("black", options->black, {0, 65535},
                       "level without light; that of camera raws has been subtracted already");
        settings.whole("white", options->white, {1, 65535},
                       "level at which the sensor clips, instead of what the file says");
        const Options* const o = options.get();
        settings.rule([o] { return !o->exposure || !o->percent; },
                      "either --exposure or --auto can be wanted");
        settings.rule([o] { return !o->bits || *o->bits == 8 || *o->bits == 16; }, "--bits must be 8 or 16");
        return [options]() -> Filter {
            auto demosaicer = std::make_shared<Demosaicer>(options->method);
            return [options, demosaicer](const Image& picture, Frame& frame) {
                return develop(picture, *options, *demosaicer, frame);
            };
        };
    },
    true};

}  // namespace ko::tool
