#include "commands/correction.h"

#include "cli/failure.h"
#include "io/bayer.h"

#include <algorithm>
#include <cmath>
#include <variant>

namespace ko::tool {
namespace {

std::size_t placeIn(const Image& picture, int x, int y)
{
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(picture->width) +
           static_cast<std::size_t>(x);
}

/// A row or column of a picture that is multiplied, and where it lies in a map.
struct Line {
    int place;
    std::size_t point;  ///< of the map, the one before
    std::size_t next;   ///< the one behind, or the same at the end
    float share;        ///< of the one behind
};

/// How the places of a picture are counted along an axis. What they are counted in is that of the whole picture, of
/// which this may be a smaller one.
struct Axis {
    int count;   ///< of pixels
    int corner;  ///< place of the first one
    int extent;  ///< of the whole
    int scale;   ///< from a pixel to the next

    int place(int pixel) const { return corner + pixel * scale; }
    double middle(int pixel) const { return place(pixel) + 0.5 * scale; }
    double pixel(double place) const { return (place - corner) / scale - 0.5; }  ///< in whose middle it lies
};

struct Axes {
    Axis rows;
    Axis columns;
};

/// Beyond its first and last point a map goes on as it is there.
std::vector<Line> linesOf(const GainMap& map, std::size_t axis, const Axis& places)
{
    std::vector<Line> lines;
    for (int i = 0; i < places.count; ++i) {
        const int place = places.place(i);
        const auto first = static_cast<std::int64_t>(map.area[axis]);
        if (place < first || place >= std::int64_t{map.area[axis + 2]} ||
            (place - first) % map.pitches[axis] != 0)
            continue;
        const double share = places.middle(i) / places.extent;
        const std::size_t last = map.points[axis] - 1;
        const double at = last > 0 ? std::clamp((share - map.origin[axis]) / map.spacing[axis], 0.0,
                                                static_cast<double>(last))
                                   : 0;
        const auto point = static_cast<std::size_t>(at);
        lines.push_back(
            {i, point, std::min(point + 1, last), static_cast<float>(at - static_cast<double>(point))});
    }
    return lines;
}

void apply(Image& picture, const GainMap& map, const Axes& axes, const Brightener& brightened)
{
    const std::vector<Line> rows = linesOf(map, 0, axes.rows);
    const std::vector<Line> columns = linesOf(map, 1, axes.columns);
    const auto channels = static_cast<std::size_t>(picture->channels);
    const std::size_t end = std::min(std::size_t{map.plane} + map.planes, channels);
    std::vector<float> gains(map.points[1]);
    for (const Line& row : rows)
        for (std::size_t plane = map.plane; plane < end; ++plane) {
            const std::size_t channel = std::min<std::size_t>(plane - map.plane, map.channels - 1);
            for (std::size_t i = 0; i < gains.size(); ++i)
                gains[i] =
                    std::lerp(map.gain(row.point, i, channel), map.gain(row.next, i, channel), row.share);
            std::uint16_t* const samples = rowOf<std::uint16_t>(picture, row.place) + plane;
            for (const Line& column : columns) {
                const float before = gains[column.point];
                const float gain = before + column.share * (gains[column.next] - before);
                std::uint16_t& sample = samples[static_cast<std::size_t>(column.place) * channels];
                sample = brightened(sample, gain);
            }
        }
}

/// The middle of a lens, and how far the farthest corner is from it.
struct Centre {
    double x;
    double y;
    double farthest;
};

Centre centreOf(const std::array<double, 2>& shares, const Axes& axes)
{
    const double width = axes.columns.extent;
    const double height = axes.rows.extent;
    const double x = shares[0] * width;
    const double y = shares[1] * height;
    return {x, y, std::hypot(std::max(x, width - x), std::max(y, height - y))};
}

void apply(Image& picture, const RadialGain& gain, const Axes& axes, const Brightener& brightened)
{
    const auto [left, top, farthest] = centreOf(gain.centre, axes);
    for (int row = 0; row < picture->height; ++row) {
        const double down = (axes.rows.middle(row) - top) / farthest;
        std::uint16_t* sample = rowOf<std::uint16_t>(picture, row);
        for (int column = 0; column < picture->width; ++column) {
            const double right = (axes.columns.middle(column) - left) / farthest;
            const double factor = gain.at(right * right + down * down);
            for (const std::uint16_t* const next = sample + picture->channels; sample < next; ++sample)
                *sample = brightened(*sample, static_cast<float>(std::max(factor, 0.0)));
        }
    }
}

/// Four neighbours along an axis and their weights: those of a cubic curve through them. What lies outside is as at the
/// edge.
struct Neighbours {
    Neighbours(double place, int count)
    {
        // Rounded down; a conversion, which is cheaper, rounds towards 0.
        const int before = static_cast<int>(std::clamp(place, -2.0, count + 1.0) + 2) - 2;
        const auto t = static_cast<float>(std::clamp(place - before, 0.0, 1.0));
        for (int i = 0; i < 4; ++i)
            places[static_cast<std::size_t>(i)] = std::clamp(before - 1 + i, 0, count - 1);
        weights = {t * (-0.5F + t * (1 - 0.5F * t)), 1 + t * t * (-2.5F + 1.5F * t),
                   t * (0.5F + t * (2 - 1.5F * t)), t * t * (-0.5F + 0.5F * t)};
    }

    std::array<int, 4> places;
    std::array<float, 4> weights;
};

/// A place in a picture between samples.
struct Between {
    Neighbours columns;
    Neighbours rows;
};

std::uint16_t sampleAt(const Image& picture, const Between& place, int channel)
{
    float sum = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint16_t* const row = rowOf<std::uint16_t>(picture, place.rows.places[i]) + channel;
        float ofRow = 0;
        for (std::size_t j = 0; j < 4; ++j)
            ofRow +=
                place.columns.weights[j] * row[std::int64_t{place.columns.places[j]} * picture->channels];
        sum += place.rows.weights[i] * ofRow;
    }
    return static_cast<std::uint16_t>(std::clamp(sum + 0.5F, 0.0F, 65535.0F));
}

/// Samples are taken as they are, with the levels of the curve.
void apply(Image& picture, const Warp& warp, const Axes& axes, const Brightener&)
{
    const Centre centre = centreOf(warp.centre, axes);
    Image bent = std::move(picture);
    picture = Image(*bent);
#pragma omp parallel for
    for (int row = 0; row < bent->height; ++row) {
        const double down = (axes.rows.middle(row) - centre.y) / centre.farthest;
        std::uint16_t* to = rowOf<std::uint16_t>(picture, row);
        for (int column = 0; column < bent->width; ++column) {
            const double right = (axes.columns.middle(column) - centre.x) / centre.farthest;
            const auto comesFrom = [&](std::size_t plane) {
                const auto [x, y] = warp.from(right, down, plane);
                return Between{{axes.columns.pixel(centre.x + x * centre.farthest), bent->width},
                               {axes.rows.pixel(centre.y + y * centre.farthest), bent->height}};
            };
            Between place = comesFrom(0);
            for (int channel = 0; channel < bent->channels; ++channel) {
                if (channel > 0 && warp.planes.size() > 1)
                    place = comesFrom(static_cast<std::size_t>(channel));
                *to++ = sampleAt(bent, place, channel);
            }
        }
    }
}

/// The mean of the sound samples of its colour in the smallest square that has some, the nearer ones counting more. As
/// it is where there are none.
std::uint16_t soundSample(Image& mosaic, const std::vector<bool>& faulty, int x, int y)
{
    constexpr int greatestReach = 4;
    double sum = 0;
    double weights = 0;
    for (int reach = 1; reach <= greatestReach && weights == 0; ++reach)
        for (int row = std::max(y - reach, 0); row <= std::min(y + reach, mosaic->height - 1); ++row)
            for (int column = std::max(x - reach, 0); column <= std::min(x + reach, mosaic->width - 1);
                 ++column) {
                const bool isSame =
                    mosaic->bayerGrid == BayerNone ||
                    colourAt(mosaic->bayerGrid, column, row) == colourAt(mosaic->bayerGrid, x, y);
                if (!isSame || faulty[placeIn(mosaic, column, row)])
                    continue;
                const double weight = 1.0 / ((row - y) * (row - y) + (column - x) * (column - x));
                sum += weight * rowOf<std::uint16_t>(mosaic, row)[column];
                weights += weight;
            }
    return weights > 0 ? static_cast<std::uint16_t>(sum / weights + 0.5) : rowOf<std::uint16_t>(mosaic, y)[x];
}

void repair(Image& mosaic, const std::vector<QPoint>& places)
{
    std::vector<bool> faulty(static_cast<std::size_t>(pixelCount(*mosaic)));
    for (const QPoint& place : places)
        faulty[placeIn(mosaic, place.x(), place.y())] = true;
    for (const QPoint& place : places)
        rowOf<std::uint16_t>(mosaic, place.y())[place.x()] =
            soundSample(mosaic, faulty, place.x(), place.y());
}

/// What turns a picture back that has been turned.
int backFrom(int orientation)
{
    constexpr int toLeft = 6;
    constexpr int toRight = 8;
    return orientation == toLeft ? toRight : orientation == toRight ? toLeft : orientation;
}

/// Works on a picture as it lay before it was turned upright.
template <class Work>
void asStored(Image& picture, int orientation, const Work& work)
{
    if (orientation != Upright)
        picture = turned(picture, backFrom(orientation));
    work();
    if (orientation != Upright)
        picture = turned(picture, orientation);
}

}  // namespace

void repair(Image& picture, const Corrections& corrections)
{
    if (!corrections.faulty.empty())
        asStored(picture, corrections.orientation, [&] { repair(picture, corrections.faulty); });
}

void apply(Image& picture, const std::vector<Correction>& list, const Corrections& corrections, Curve curve,
           int scale)
{
    if (list.empty())
        return;
    const Brightener brightened(curve);
    asStored(picture, corrections.orientation, [&] {
        const Axes axes{{picture->height, corrections.corner.y(), corrections.size.height(), scale},
                        {picture->width, corrections.corner.x(), corrections.size.width(), scale}};
        for (const Correction& correction : list)
            std::visit([&](const auto& one) { apply(picture, one, axes, brightened); }, correction);
    });
}

void warnOf(const Corrections& corrections)
{
    for (const std::string& name : corrections.missed)
        warn(corrections.file, "its correction " + name + " is not applied");
    for (const std::string& name : corrections.damaged)
        warn(corrections.file, "its corrections " + name + " are damaged and not applied");
}

}  // namespace ko::tool
