#include "plot/diagram.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace ko::tool {
namespace {

constexpr Colour gridColour{225, 225, 225};
constexpr double tickLength = 6;

/// "250", "1.5k", "20M"
std::string shortNumber(double number)
{
    constexpr const char* suffixes[] = {"", "k", "M", "G"};
    std::size_t suffix = 0;
    while (number >= 1000 && suffix + 1 < std::size(suffixes)) {
        number /= 1000;
        ++suffix;
    }
    std::ostringstream text;
    text << number << suffixes[suffix];
    return text.str();
}

double acrossAt(const PlotArea& area, const Tick& tick)
{
    return area.left + tick.at * area.width;
}

double upAt(const PlotArea& area, const Tick& tick)
{
    return area.top + (1 - tick.at) * area.height;
}

}  // namespace

std::vector<Tick> levelTicks(int levels)
{
    std::vector<Tick> ticks;
    const int step = std::max(1, levels / 4);
    for (int level = 0; level <= levels; level += step)
        ticks.push_back({static_cast<double>(level) / levels, std::to_string(level)});
    return ticks;
}

std::vector<Tick> countTicks(double top)
{
    // The smallest of 1, 2, 5, 10, 20 ... that gives at most six steps.
    double step = 1;
    for (int i = 0; top / step > 6; ++i)
        step *= i % 3 == 1 ? 2.5 : 2;
    std::vector<Tick> ticks;
    for (double count = 0; count <= top; count += step)
        ticks.push_back({count / top, shortNumber(count)});
    return ticks;
}

std::vector<Tick> decadeTicks(double top)
{
    std::vector<Tick> ticks{{0, "0"}};
    for (double count = 1; count <= top; count *= 10)
        ticks.push_back({logPosition(count, top), shortNumber(count)});
    return ticks;
}

double logPosition(double count, double top)
{
    // Half a count stands for none.
    return std::log(std::max(count, 0.5) / 0.5) / std::log(top / 0.5);
}

void addGrid(Drawing& drawing, const PlotArea& area, const Axis& horizontal, const Axis& vertical)
{
    for (const Tick& tick : horizontal.ticks)
        drawing.add(Rectangle{{acrossAt(area, tick), area.top}, 1, area.height, gridColour});
    for (const Tick& tick : vertical.ticks)
        drawing.add(Rectangle{{area.left, upAt(area, tick)}, area.width, 1, gridColour});
}

void addAxes(Drawing& drawing, const PlotArea& area, const Axis& horizontal, const Axis& vertical)
{
    const double bottom = area.top + area.height;
    const double right = area.left + area.width;
    drawing.add(Rectangle{{area.left - 1, area.top}, 1, area.height + 1, inkColour});
    drawing.add(Rectangle{{area.left - 1, bottom}, area.width + 2, 1, inkColour});
    drawing.add(Rectangle{{right, area.top}, 1, area.height + 1, inkColour});
    drawing.add(Rectangle{{area.left - 1, area.top - 1}, area.width + 2, 1, inkColour});
    for (const Tick& tick : horizontal.ticks) {
        const double x = acrossAt(area, tick);
        drawing.add(Rectangle{{x, bottom}, 1, tickLength, inkColour});
        drawing.add(Text{{x, bottom + tickLength + 18}, tick.label, Anchor::Middle, inkColour});
    }
    for (const Tick& tick : vertical.ticks) {
        const double y = upAt(area, tick);
        drawing.add(Rectangle{{area.left - tickLength, y}, tickLength, 1, inkColour});
        drawing.add(Text{{area.left - tickLength - 6, y + 7}, tick.label, Anchor::End, inkColour});
    }
    drawing.add(Text{
        {area.left + area.width / 2, bottom + tickLength + 44}, horizontal.title, Anchor::Middle, inkColour});
    drawing.add(Text{{12, area.top - 20}, vertical.title, Anchor::Start, inkColour});
}

}  // namespace ko::tool
