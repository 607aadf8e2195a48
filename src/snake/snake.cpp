#include <ko/snake.h>

#include <ko/cpp/image.h>
#include <ko/filters.h>
#include <ko/pixel.h>
#include <ko/stats.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/conversions.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "snake/contour.h"

#include <QVariant>

#include <algorithm>
#include <cmath>

namespace ko {

namespace {

/// A cleared working image of the source's size.
Image workingImage(const SxImageInfo& source, ExImageDataType type, int bits)
{
    SxImageInfo info = source;
    info.dataType = type;
    info.bitsPerSample = bits;
    // A mosaic's extremes would be taken cell by cell.
    info.bayerGrid = BayerNone;
    return Image::zeros(info);
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
    Edges edges{workingImage(src, Int32, 32), {}};
    orThrow(Sobel(src, edges.gradient));
    QVariant least, largest;
    orThrow(MinMax(edges.gradient, &least, &largest));
    edges.binary = workingImage(src, UInt8, 8);
    const QVariant threshold(toInt32(largest.toInt() * std::clamp(edgeFraction, 0.0, 1.0)));
    const QVariant none(0);
    unsigned char edge = 255;
    orThrow(ThresholdBinaryGT(edges.gradient, edges.binary, &threshold, &edge, true));
    orThrow(ThresholdGT(edges.gradient, &threshold, &none, true));
    return edges;
}

/// Distances to the edges in fifths of a pixel, as the steps of the mask count them.
Image measureDistance(const SxImageBuf& edges)
{
    Image distance = workingImage(edges, Float64, 64);
    orThrow(ChamferDistance(edges, distance, Chamfer5x5));
    Image scaled = workingImage(edges, Int32, 32);
    rowsStatic(workOn(*distance, *scaled).times(4), [&](std::int64_t y) noexcept {
        for (std::int64_t x = 0; x < distance->width; ++x)
            storeSample(rowOf(*scaled, y), x, toInt32(5.0 * loadSample<double>(rowOf(*distance, y), x)));
    });
    return scaled;
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
