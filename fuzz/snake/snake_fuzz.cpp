// Active contour.
#include "fuzz/support/run.h"
#include "oracle/snake.h"

#include <ko/snake.h>

#include <algorithm>

namespace ko::fuzz {

namespace {

using Points = QList<_point_<int>>;

/// Whatever a weight may be: moderate mostly.
double anyWeight(ByteReader& in)
{
    return in.oneIn(16) ? in.real() : in.between(-4, 12) / 4.0;
}

/// A contradictory record may claim any number of pixels. To find the edges among many takes as long as a hundred other
/// inputs.
bool isSmall(const SxImageInfo& image)
{
    return double{1} * image.width * image.height <= 1 << 12;
}

/// Where far points pull a new one back onto the point before it, insertion goes on to its limit of 65,536 points,
/// which takes seconds. No image is large enough for that at this spacing.
int boundedSpacing(const SxImageInfo& image)
{
    return 2 + std::max({image.width, image.height, 0}) / 16;
}

/// @param maySwell  insertion may go on to its limit, in one step
SxSnakeParams anyParams(ByteReader& in, const SxImageInfo& image, bool maySwell)
{
    SxSnakeParams params;
    params.edgeFraction = in.oneIn(16) ? in.real() : in.between(-2, 12) / 10.0;
    params.weightContinuity = anyWeight(in);
    params.weightCurvature = anyWeight(in);
    params.weightDistance = anyWeight(in);
    params.weightGradient = anyWeight(in);
    params.refine = in.oneIn(4) ? 0 : 1;
    params.refineInterval = in.between(-1, 6);
    params.loopDistance = in.oneIn(16) ? in.integer() : in.between(-1, 6);
    params.pointSpacing = in.oneIn(16) ? -in.below(100) : in.between(2, 9);
    params.maxIterations = in.between(-1, params.refine != 0 ? 4 : 25);
    if (maySwell) {
        params.pointSpacing -= 1;
        params.maxIterations = std::min(params.maxIterations, 1);
    } else if (params.pointSpacing > 0) {
        params.pointSpacing = std::max(params.pointSpacing, boundedSpacing(image));
    }
    return params;
}

/// Inside the image mostly.
Points anyContour(ByteReader& in, const Layout& layout)
{
    Points points;
    for (int i = in.oneIn(32) ? 0 : in.between(1, 14); i > 0; --i) {
        const int x = in.oneIn(12) ? in.integer() : in.below(layout.width + 1);
        const int y = in.oneIn(12) ? in.integer() : in.below(layout.height + 1);
        points.append({x, y});
    }
    return points;
}

void add(Outcome& out, const Points& points)
{
    out.add(points.size());
    for (const auto& point : points) {
        out.add(point.x);
        out.add(point.y);
    }
}

void contour(ByteReader& in, Outcome& out)
{
    const bool maySwell = in.digest() % 8192 == 0;
    const Layout layout = smallLayout(in, {{UInt8, UInt16, UInt8, UInt16, UInt8, Int32}});
    const FuzzImage src(in, layout);
    if (!isSmall(src))
        return;
    const SxSnakeParams params = anyParams(in, src, maySwell);
    const Points input = anyContour(in, layout);
    Points output;
    const ResultCode rc = SnakeImage(src, params, input, output);
    require(src.isUntouched(), "the source has changed");
    require(!isFailure(rc) || output.isEmpty(), "a failure has a result");
    out.add(rc);
    add(out, output);
    if (rc != ResultOk || !out.isJudged() || !src.isSound())
        return;
    const Twin twin(src);
    const oracle::Snake expected = layout.type == UInt8
                                       ? oracle::snakeImage<std::uint8_t>(twin, params, input)
                                       : oracle::snakeImage<std::uint16_t>(twin, params, input);
    require(oracle::plain(output) == expected, "the contour differs from its naive twin's");
}

/// One list as input and output.
void contourInPlace(ByteReader& in, Outcome& out)
{
    const Layout layout = smallLayout(in, {{UInt8, UInt16}});
    const FuzzImage src(in, layout);
    if (!isSmall(src))
        return;
    const SxSnakeParams params = anyParams(in, src, false);
    Points points = anyContour(in, layout), apart;
    const Points input = points;
    const ResultCode rc = SnakeImage(src, params, input, apart);
    const ResultCode again = SnakeImage(src, params, points, points);
    require(rc == again || !out.isJudged(), "another status in place");
    const Points& expected = isFailure(again) ? input : apart;
    require(rc != again || oracle::plain(points) == oracle::plain(expected), "another contour in place");
    out.add(rc);
    add(out, points);
}

Cases snakeCases()
{
    return {{"snake: contour", &contour}, {"snake: contourInPlace", &contourInPlace}};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::snakeCases())
