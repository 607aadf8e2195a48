#include <ko/snake.h>

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

/// A cleared working image of the source's size, released with this object.
class WorkingImage {
public:
    WorkingImage() = default;
    ~WorkingImage() { FreeBuffer(m_image); }
    WorkingImage(const WorkingImage&) = delete;
    WorkingImage& operator=(const WorkingImage&) = delete;

    SxImageBuf& image() { return m_image; }

    ResultCode allocate(const SxImageInfo& source, ExImageDataType type, int bits)
    {
        SxImageInfo info = source;
        info.dataType = type;
        info.bitsPerSample = bits;
        info.stride = 0;
        // A mosaic's extremes would be taken cell by cell.
        info.bayerGrid = BayerNone;
        return AllocBuffer(info, m_image, true);
    }

private:
    SxImageBuf m_image;
};

bool areFinite(const SxSnakeParams& p)
{
    return std::isfinite(p.edgeFraction) && std::isfinite(p.weightContinuity) &&
           std::isfinite(p.weightCurvature) && std::isfinite(p.weightDistance) &&
           std::isfinite(p.weightGradient);
}

/// Gradient magnitudes, cut to 0 where they are no edges, and the edges as a binary image.
ResultCode findEdges(const SxImageBuf& src, double edgeFraction, WorkingImage& gradient, WorkingImage& edges)
{
    if (isFailure(gradient.allocate(src, Int32, 32)) || isFailure(Sobel(src, gradient.image())))
        return ResultFailed;
    QVariant least, largest;
    if (isFailure(MinMax(gradient.image(), &least, &largest)) || isFailure(edges.allocate(src, UInt8, 8)))
        return ResultFailed;
    const QVariant threshold(toInt32(largest.toInt() * std::clamp(edgeFraction, 0.0, 1.0)));
    const QVariant none(0);
    unsigned char edge = 255;
    if (isFailure(ThresholdBinaryGT(gradient.image(), edges.image(), &threshold, &edge, true)))
        return ResultFailed;
    const ResultCode cut = ThresholdGT(gradient.image(), &threshold, &none, true);
    return isFailure(cut) ? ResultFailed : ResultOk;
}

/// Distances to the edges in fifths of a pixel, as the steps of the mask count them.
ResultCode measureDistance(const SxImageBuf& src, const SxImageBuf& edges, WorkingImage& scaled)
{
    WorkingImage distance;
    if (isFailure(distance.allocate(src, Float64, 64)) ||
        isFailure(ChamferDistance(edges, distance.image(), Chamfer5x5)) ||
        isFailure(scaled.allocate(src, Int32, 32)))
        return ResultFailed;
    const SxImageBuf& from = distance.image();
    SxImageBuf& to = scaled.image();
    rowsStatic(from.height, [&](std::int64_t y) noexcept {
        for (std::int64_t x = 0; x < from.width; ++x)
            storeSample(rowOf(to, y), x, toInt32(5.0 * loadSample<double>(rowOf(from, y), x)));
    });
    return ResultOk;
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
        WorkingImage gradient, distance;
        {
            WorkingImage edges;
            if (isFailure(findEdges(src, params.edgeFraction, gradient, edges)) ||
                isFailure(measureDistance(src, edges.image(), distance)))
                return ResultFailed;
        }
        Contour contour;
        contour.reserve(static_cast<std::size_t>(input.size()));
        for (const ContourPoint& point : input)
            contour.push_back(intoBand(point, src));
        iterateContour(contour, params, {gradient.image(), distance.image()});
        QList<ContourPoint> result;
        result.reserve(static_cast<int>(contour.size()));
        for (const ContourPoint& point : contour)
            result.append(point);
        output = result;
        return ResultOk;
    });
}

}  // namespace ko
