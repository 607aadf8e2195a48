#include "commands/correction.h"

#include "cli/failure.h"

#include <algorithm>

namespace ko::tool {
namespace {

/// A row or column of a picture that is multiplied, and where it lies in a map.
struct Line {
    int place;
    std::size_t point;  ///< of the map, the one before
    std::size_t next;   ///< the one behind, or the same at the end
    float share;        ///< of the one behind
};

/// How the places of a picture are counted along an axis.
struct Axis {
    int count;   ///< of pixels
    int corner;  ///< place of the first one
    int extent;  ///< of the whole
};

/// Beyond its first and last point a map goes on as it is there.
std::vector<Line> linesOf(const GainMap& map, std::size_t axis, const Axis& places, int scale)
{
    std::vector<Line> lines;
    for (int i = 0; i < places.count; ++i) {
        const int place = places.corner + i * scale;
        const auto first = static_cast<std::int64_t>(map.area[axis]);
        if (place < first || place >= std::int64_t{map.area[axis + 2]} ||
            (place - first) % map.pitches[axis] != 0)
            continue;
        const double share = (place + 0.5 * scale) / places.extent;
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

void multiply(Image& picture, const GainMap& map, const Corrections& whole, const Brightener& brightened,
              int scale)
{
    const std::vector<Line> rows =
        linesOf(map, 0, {picture->height, whole.corner.y(), whole.size.height()}, scale);
    const std::vector<Line> columns =
        linesOf(map, 1, {picture->width, whole.corner.x(), whole.size.width()}, scale);
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

/// What turns a picture back that has been turned.
int backFrom(int orientation)
{
    constexpr int toLeft = 6;
    constexpr int toRight = 8;
    return orientation == toLeft ? toRight : orientation == toRight ? toLeft : orientation;
}

}  // namespace

void multiply(Image& picture, const std::vector<GainMap>& gains, const Corrections& corrections, Curve curve,
              int scale)
{
    if (gains.empty())
        return;
    const bool isTurned = corrections.orientation != Upright;
    if (isTurned)
        picture = turned(picture, backFrom(corrections.orientation));
    const Brightener brightened(curve);
    for (const GainMap& map : gains)
        multiply(picture, map, corrections, brightened, scale);
    if (isTurned)
        picture = turned(picture, corrections.orientation);
}

void warnOf(const Corrections& corrections)
{
    for (const std::string& name : corrections.missed)
        warn(corrections.file, "its correction " + name + " is not applied");
    for (const std::string& name : corrections.damaged)
        warn(corrections.file, "its corrections " + name + " are damaged and not applied");
}

}  // namespace ko::tool
