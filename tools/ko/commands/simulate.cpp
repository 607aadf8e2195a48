// ko simulate: what a sensor with a colour-filter mosaic would have delivered of a photograph.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/transfer.h"
#include "commands/commands.h"
#include "io/bayer.h"
#include "io/image_file.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    std::string photo;
    std::string output;
    ExBayerGrid grid = BayerRGGB;
    int bits = 12;
    double noise = 0;
    double vignette = 0;
    std::uint32_t seed = 1;
    bool isLinear = false;
    std::optional<int> quality;
    Settings settings;
};

/// Normally distributed numbers, the same ones on every machine, which the standard library's are not.
class Noise {
public:
    explicit Noise(std::uint32_t seed) : m_engine(seed) {}

    double next()
    {
        // 1 - u keeps the logarithm's argument above 0.
        const double radius = std::sqrt(-2 * std::log(1 - uniform()));
        return radius * std::cos(2 * std::numbers::pi * uniform());
    }

private:
    double uniform() { return static_cast<double>(m_engine()) / 4294967296.0; }

    std::mt19937 m_engine;
};

/// What a sensor counts of a share of white on a screen: light, in which daylight has less red and blue for
/// it than green.
double lightOf(double level, int colour)
{
    constexpr double sensitivities[] = {1.0 / 2, 1, 2.0 / 3};
    return sensitivities[colour] *
           (level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4));
}

template <class T>
void expose(const Image& photo, double white, const Options& options, Image& mosaic)
{
    const double top = (1 << options.bits) - 1;
    const double centreX = (mosaic->width - 1) / 2.0;
    const double centreY = (mosaic->height - 1) / 2.0;
    const double corner = centreX * centreX + centreY * centreY;
    Noise noise(options.seed);
    for (int y = 0; y < mosaic->height; ++y) {
        const T* from = rowOf<T>(photo, y);
        for (int x = 0; x < mosaic->width; ++x) {
            const double distance = (x - centreX) * (x - centreX) + (y - centreY) * (y - centreY);
            const double light = 1 - options.vignette * distance / corner;
            const int colour = colourAt(options.grid, x, y);
            const double level = static_cast<double>(from[x * photo->channels + colour]) / white;
            const double value = (options.isLinear ? lightOf(level, colour) : level) * light * top +
                                 (options.noise > 0 ? options.noise * noise.next() : 0);
            // Written so that NaN becomes 0.
            const auto sample = static_cast<std::uint16_t>(value > 0 ? std::min(value + 0.5, top) : 0);
            if (mosaic->dataType == UInt8)
                rowOf<std::uint8_t>(mosaic, y)[x] = static_cast<std::uint8_t>(sample);
            else
                rowOf<std::uint16_t>(mosaic, y)[x] = sample;
        }
    }
}

Image simulate(const Image& photo, const Options& options)
{
    if (photo->channels < 3 || photo->channels > 4)
        throw Failure(options.photo, "not a colour photograph");
    if (photo->width < 2 || photo->height < 2)
        throw Failure(options.photo, "smaller than one 2 x 2 cell");
    SxImageInfo format =
        makeFormat(photo->width / 2 * 2, photo->height / 2 * 2, 1, options.bits == 8 ? UInt8 : UInt16);
    format.bitsPerSample = options.bits;
    format.bayerGrid = options.grid;
    if (format.width != photo->width || format.height != photo->height)
        (options.output == standardStream ? std::cerr : std::cout)
            << options.photo << ": cropped from " << photo->width << " x " << photo->height << " to "
            << format.width << " x " << format.height << ", mosaics have even sizes\n";
    Image mosaic(format);
    const double white = std::ldexp(1.0, photo->bitsPerSample) - 1;
    if (photo->dataType == UInt8)
        expose<std::uint8_t>(photo, white, options, mosaic);
    else if (photo->dataType == UInt16)
        expose<std::uint16_t>(photo, white, options, mosaic);
    else if (photo->dataType == Float32)
        expose<float>(photo, 1, options, mosaic);
    else
        throw Failure(options.photo,
                      "the samples of a photograph must be unsigned of 8 or 16 bits, or floats");
    return mosaic;
}

}  // namespace

const Command simulateCommand{
    "Demosaicing", "simulate",
    "Turn a colour photograph into the mosaic a sensor would have delivered (brightness as in the "
    "photograph)",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        command.add_option("photo", options->photo, "colour photograph")->required();
        command.add_option("-o,--output", options->output, "mosaic; the file keeps pattern and depth")
            ->required();
        declareQuality(command, options->quality);
        options->settings.choice("grid", options->grid, gridWords(), "mosaic pattern, rggb if not given");
        options->settings.flag(
            "linear", options->isLinear,
            "as sensors see daylight: levels in proportion to light, those of red times 1/2, "
            "of blue times 2/3; ko develop --wb 2,1,1.5 makes the photograph of it again");
        options->settings.whole("bits", options->bits, {8, 16}, "depth of the sensor, 12 if not given");
        options->settings.number("noise", options->noise, {0, 65535},
                                 "standard deviation of the noise in samples of that depth");
        options->settings.number("vignette", options->vignette, {0, 1},
                                 "loss of light in the corners, 0...1");
        options->settings.declare(command);
        command
            .add_option("--seed", options->seed, "number that selects the noise: another one for each frame")
            ->capture_default_str();
        return [options] {
            writeImage(simulate(readImage(options->photo), *options), options->output, {}, options->quality);
            return ExitOk;
        };
    }};

}  // namespace ko::tool
