#include <ko/snake.h>

#include <ko/cpp/image.h>
#include <ko/filters.h>
#include <ko/pixel.h>
#include <ko/stats.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/conversions.h"
#include "snake/contour.h"

#include <QVariant>

#include <algorithm>
#include <cmath>

namespace ko {

namespace {

/// The format of a working image of the source's size.
SxImageInfo workingFormat(const SxImageInfo& source, ExImageDataType type, int bits)
{
    SxImageInfo info = source;
    info.dataType = type;
    info.bitsPerSample = bits;
    // A mosaic's extremes would be taken cell by cell.
    info.bayerGrid = BayerNone;
    return info;
}

bool areFinite(const SxSnakeParams& p)
{
    return std::isfinite(p.edgeFraction) && std::isfinite(p.weightContinuity) &&
           std::isfinite(p.weightCurvature) && std::isfinite(p.weightDistance) &&
           std::isfinite(p.weightGradient);
}

struct Edges {
    Image gradient;  ///< magnitudes, 0 where they are no edges
    Image binary;
};

/// Throws when a step fails, as `measureDistance` does: the arguments were good.
Edges findEdges(const SxImageBuf& src, double edgeFraction)
{
    // No gradient is computed on the outermost pixels.
    Edges edges{Image::zeros(workingFormat(src, Int32, 32)), {}};
    orThrow(Sobel(src, edges.gradient));
    QVariant least, largest;
    orThrow(MinMax(edges.gradient, &least, &largest));
    edges.binary = Image(workingFormat(src, UInt8, 8));
    const QVariant threshold(toInt32(largest.toInt() * std::clamp(edgeFraction, 0.0, 1.0)));
    const QVariant none(0);
    unsigned char edge = 255;
    orThrow(ThresholdBinaryGT(edges.gradient, edges.binary, &threshold, &edge, true));
    orThrow(ThresholdGT(edges.gradient, &threshold, &none, true));
    return edges;
}

Image measureDistance(const SxImageBuf& edges)
{
    Image distance(workingFormat(edges, Float64, 64));
    orThrow(ChamferDistance(edges, distance, Chamfer5x5));
    return distance;
}

}  // namespace

ResultCode SnakeImage(const SxImageBuf& src, const SxSnakeParams& params, const QList<_point_<int>>& input,
                      QList<_point_<int>>& output)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMono(src) && hasType(src, UInt8, UInt16)},
                {ResultBadArg1, src.width >= 3 && src.height >= 3},
                {ResultBadArg2, areFinite(params)},
                {ResultBadArg3, !input.isEmpty()},
                {ResultBadArg1, rowsFit(src)},
            }))
            return rc;
        Edges edges = findEdges(src, params.edgeFraction);
        const Image distance = measureDistance(edges.binary);
        edges.binary = {};
        Contour contour;
        contour.reserve(static_cast<std::size_t>(input.size()));
        for (const ContourPoint& point : input)
            contour.push_back(intoBand(point, src));
        iterateContour(contour, params, {edges.gradient, distance});
        QList<ContourPoint> result;
        result.reserve(static_cast<int>(contour.size()));
        for (const ContourPoint& point : contour)
            result.append(point);
        output = result;
        return ResultOk;
    });
}

}  // namespace ko
