// ko hist2d: how often the levels of two pictures meet.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/masks.h"
#include "plot/diagram.h"

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
    std::optional<int> row, column;
    std::string mask;
    Settings settings;
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

CxImageHistogramSparse2D countPairs(const Image& first, const Image& second, const Options& options)
{
    const int channel = options.channel;
    CxImageHistogramSparse2D pairs(1, 1 << first->bitsPerSample);
    if (const auto mask = readMask(options.mask))
        require(HistogramMasked2D(*first, channel, *second, channel, *mask->of(*first), pairs),
                "HistogramMasked2D");
    else if (options.row)
        require(RowHistogram2D(*first, channel, *second, channel, *options.row, pairs), "RowHistogram2D");
    else if (options.column)
        require(ColHistogram2D(*first, channel, *second, channel, *options.column, pairs), "ColHistogram2D");
    else
        require(Histogram2D(*first, channel, *second, channel, pairs), "Histogram2D");
    return pairs;
}

Density count(const Options& options)
try {
    const Image first = readCountable(options.first, options.channel);
    const Image second = readCountable(options.second, options.channel);
    if (first->width != second->width || first->height != second->height ||
        first->dataType != second->dataType || first->bitsPerSample != second->bitsPerSample)
        throw Failure(options.second, "differs in size or depth from " + options.first);
    if (options.row.value_or(0) >= first->height || options.column.value_or(0) >= first->width)
        throw std::runtime_error("has no such row or column, they are counted from 0");
    const int levels = 1 << first->bitsPerSample;
    CxImageHistogramSparse2D pairs = countPairs(first, second, options);

    Density density{first->bitsPerSample, std::min(levels, 256), {}};
    density.counts.resize(static_cast<std::size_t>(density.cells) * static_cast<std::size_t>(density.cells));
    const int size = levels / density.cells;
    for (int row = 0; row < pairs[0].rowCount(); ++row)
        for (const auto& [column, times] : pairs[0].rows()[row])
            density.counts[static_cast<std::size_t>(row / size * density.cells + column / size)] += times;
    return density;
} catch (const Failure&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(options.first, error.what());
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

    Drawing drawing(760, 640);
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
        declareArgument(command, "first", options->first, Need::Required,
                        "picture or camera raw, its levels run across");
        declareArgument(command, "second", options->second, Need::Required,
                        "another of the same size and depth, its levels run up");
        declareArgument(command, "-o,--output", options->output, Need::Required, "diagram (.png, .svg ...)");
        Settings& settings = options->settings;
        settings.whole("channel", options->channel, naturalNumbers, "of both pictures, counted from 0");
        settings.whole("row", options->row, naturalNumbers, "only this row, counted from 0");
        settings.whole("column", options->column, naturalNumbers, "only this column, counted from 0");
        settings.file("mask", options->mask,
                      "picture of one channel and the same size; only where it is not zero");
        settings.rule(
            [o = options.get()] {
                return o->row.has_value() + o->column.has_value() + !o->mask.empty() <= 1;
            },
            "only one of --row, --column, --mask can be wanted");
        settings.declare(command);
        return [options] {
            options->settings.verify();
            draw(count(*options), *options).write(options->output);
            return ExitOk;
        };
    }};

}  // namespace ko::tool
