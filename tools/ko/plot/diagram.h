// Axes of diagrams.
#pragma once

#include "plot/drawing.h"

#include <string>
#include <vector>

namespace ko::tool {

constexpr Colour inkColour{40, 40, 40};

/// Where the curves or cells go.
struct PlotArea {
    double left;
    double top;
    double width;
    double height;
};

/// A mark on an axis, at a part of its length.
struct Tick {
    double at;
    std::string label;
};

struct Axis {
    std::string title;
    std::vector<Tick> ticks;
};

/// Marks of an axis from level 0 to `levels`.
std::vector<Tick> levelTicks(int levels);

/// Marks of an axis of counts from 0 to `top`, evenly spaced.
std::vector<Tick> countTicks(double top);

/// Marks of a logarithmic axis of counts, on which `logPosition` stands.
std::vector<Tick> decadeTicks(double top);

/// Part of a logarithmic axis up to `top` at which a count stands; 0 for the count 0, a little above for 1.
double logPosition(double count, double top);

/// Faint lines at the ticks, for below the curves.
void addGrid(Drawing& drawing, const PlotArea& area, const Axis& horizontal, const Axis& vertical);

/// Frame, ticks, labels and titles.
void addAxes(Drawing& drawing, const PlotArea& area, const Axis& horizontal, const Axis& vertical);

}  // namespace ko::tool
