// ko hist2d: how often the levels of two pictures meet.
#include "channels.h"
#include "commands.h"
#include "diagram.h"
#include "failure.h"
#include "image_file.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

namespace ko::tool {
namespace {

struct Options {
    std::string first;
    std::string second;
    std::string output;
    int channel = 0;
};

/// Counts of square groups of level pairs; the first picture's levels run across, the second's up.
struct Density {
    int bits;
    int cells;  ///< along each side
    std::vector<double> counts;

    double at(int column, int row) const
    {
        return counts[static_cast<std::size_t>(row) * static_cast<std::size_t>(cells) +
                      static_cast<std::size_t>(column)];
    }
};

Image readCountable(const std::string& file, int channel)
{
    Image picture = readImage(file);
    if (!hasLevels(*picture))
        throw Failure(file, "only unsigned samples of 8 or 16 bits have levels that can be counted");
    if (channel >= picture->channels)
        throw Failure(file, "has no channel " + std::to_string(channel) + ", they are counted from 0");
    return picture;
}

Density count(const Options& options)
{
    const Image first = readCountable(options.first, options.channel);
    const Image second = readCountable(options.second, options.channel);
    if (first->width != second->width || first->height != second->height ||
        first->dataType != second->dataType || first->bitsPerSample != second->bitsPerSample)
        throw Failure(options.second, "differs in size or depth from " + options.first);
    const int levels = 1 << first->bitsPerSample;
    CxImageHistogramSparse2D pairs(1, levels);
    require(Histogram2D(*first, options.channel, *second, options.channel, pairs), "Histogram2D");

    Density density{first->bitsPerSample, std::min(levels, 256), {}};
    density.counts.resize(static_cast<std::size_t>(density.cells) * static_cast<std::size_t>(density.cells));
    const int size = levels / density.cells;
    for (int row = 0; row < pairs[0].rowCount(); ++row)
        for (const auto& [column, times] : pairs[0].rows()[row])
            density.counts[static_cast<std::size_t>(row / size * density.cells + column / size)] += times;
    return density;
}

/// From dark blue over red to yellow, for 0...1.
Colour heat(double share)
{
    constexpr Colour stops[] = {{25, 20, 90}, {120, 25, 120}, {215, 60, 70}, {250, 150, 40}, {250, 235, 90}};
    const double at = share * (std::size(stops) - 1);
    const auto lower = std::min(static_cast<std::size_t>(at), std::size(stops) - 2);
    const double part = at - static_cast<double>(lower);
    const auto mix = [&](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(std::lround(a + part * (b - a)));
    };
    const Colour& from = stops[lower];
    const Colour& to = stops[lower + 1];
    return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue)};
}

void addScale(Drawing& drawing, const PlotArea& area, double top)
{
    constexpr int steps = 128;
    for (int i = 0; i < steps; ++i)
        drawing.add(Rectangle{{area.left, area.top + i * area.height / steps},
                              area.width,
                              area.height / steps,
                              heat(1 - static_cast<double>(i) / (steps - 1))});
    for (Tick& tick : decadeTicks(top)) {
        const double y = area.top + (1 - tick.at) * area.height;
        if (tick.at > 0) {
            drawing.add(Rectangle{{area.left + area.width, y}, 6, 1, inkColour});
            drawing.add(Text{{area.left + area.width + 12, y + 7}, tick.label, Anchor::Start, inkColour});
        }
    }
}

std::string shownName(const std::string& file)
{
    return std::filesystem::path(file).filename().string().substr(0, 40);
}

Drawing draw(const Density& density, const Options& options)
{
    const PlotArea area{110, 52, 512, 512};
    const double top = std::max(2.0, *std::max_element(density.counts.begin(), density.counts.end()));
    const std::vector<Tick> ticks = levelTicks(1 << density.bits);
    const std::string bits = ", of " + std::to_string(density.bits) + " bits";
    const Axis across{shownName(options.first) + bits, ticks};
    const Axis up{shownName(options.second) + bits, ticks};

    Drawing drawing{760, 640, {}};
    addGrid(drawing, area, across, up);
    const double side = area.width / density.cells;
    for (int row = 0; row < density.cells; ++row)
        for (int column = 0; column < density.cells; ++column)
            if (const double times = density.at(column, row); times > 0)
                drawing.add(Rectangle{{area.left + column * side, area.top + area.height - (row + 1) * side},
                                      side,
                                      side,
                                      heat(logPosition(times, top))});
    addScale(drawing, {area.left + area.width + 30, area.top, 20, area.height}, top);
    addAxes(drawing, area, across, up);
    return drawing;
}

}  // namespace

const Command hist2dCommand{
    "Statistics", "hist2d",
    "Joint histogram of two pictures, dark where few pixels and bright where many meet",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        command.add_option("first", options->first, "picture or camera raw, its levels run across")
            ->required();
        command
            .add_option("second", options->second, "another of the same size and depth, its levels run up")
            ->required();
        command.add_option("-o,--output", options->output, "diagram (.png, .svg ...)")->required();
        command.add_option("--channel", options->channel, "of both pictures, counted from 0")
            ->check(CLI::NonNegativeNumber);
        return [options] {
            writeDrawing(draw(count(*options), *options), options->output);
            return ExitOk;
        };
    }};

}  // namespace ko::tool
