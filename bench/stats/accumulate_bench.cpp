#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/accumulate.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

namespace ko::bench {
namespace {

/// Frames, and an accumulator of their sums and squares or of every plane.
struct Series {
    Series(int size, ExImageDataType type, int bits, int count, bool isWhole)
    {
        const auto plane = [&](ExImageDataType of) { return BenchImage({.size = size, .type = of}); };
        for (int i = 0; i < count; ++i)
            images.emplace_back(Format{.size = size, .type = type, .bits = bits}, Scene::Camera);
        frames = QVector<SxImageBuf>(images.begin(), images.end());
        planes = {plane(UInt64), plane(UInt64)};
        if (isWhole)
            planes.insert(planes.end(), {plane(type), plane(type), plane(UInt32), plane(UInt32)});
        sums.sum = planes[0];
        sums.squares = planes[1];
        if (isWhole) {
            sums.minimum = planes[2];
            sums.maximum = planes[3];
            sums.above = planes[4];
            sums.counts = planes[5];
        }
        sums.level = (1U << bits) / 2;
    }
    Traffic limit() const
    {
        Traffic traffic{.read = images.front().pixelBytes() * images.size()};
        for (const BenchImage& plane : planes)
            traffic.rewritten += plane.pixelBytes();
        return traffic;
    }

    std::vector<BenchImage> images, planes;
    QVector<SxImageBuf> frames;
    SxAccumulator sums;
};

template <ExImageDataType Type, int Bits, int Count>
Work sumsAndSquares(int size)
{
    Series series(size, Type, Bits, Count, false);
    cv::Mat sum(size, size, CV_64F, cv::Scalar(0)), squares(size, size, CV_64F, cv::Scalar(0));
    return {
        .ours =
            [=]() mutable {
                series.sums.frames = 0;
                return AccumulateFrames(series.frames, {}, series.sums);
            },
        .peer = {"accumulate + accumulateSquare",
                 [=]() mutable {
                     for (const BenchImage& frame : series.images) {
                         cv::accumulate(frame.mat(), sum);
                         cv::accumulateSquare(frame.mat(), squares);
                     }
                 }},
        .limit = series.limit(),
    };
}

template <ExImageDataType Type, int Bits>
Work everyPlane(int size)
{
    Series series(size, Type, Bits, 16, true);
    return {
        .ours =
            [=]() mutable {
                series.sums.frames = 0;
                return AccumulateFrames(series.frames, {}, series.sums);
            },
        .limit = series.limit(),
    };
}

Work masked(int size)
{
    Series series(size, UInt16, 12, 16, true);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=, masks = QVector<SxImageBuf>(16, mask), owner = mask]() mutable {
                series.sums.frames = 0;
                return AccumulateFrames(series.frames, masks, series.sums);
            },
        .limit = series.limit(),
    };
}

Work merged(int size)
{
    const Series from(size, UInt16, 12, 1, true);
    Series into(size, UInt16, 12, 1, true);
    Traffic limit = from.limit();
    limit.read = limit.rewritten;
    return {.ours = [=]() mutable { return MergeAccumulators(from.sums, into.sums); }, .limit = limit};
}

Work variance(int size)
{
    Series series(size, UInt16, 12, 16, true);
    (void)ClearAccumulator(series.sums);
    (void)AccumulateFrames(series.frames, {}, series.sums);
    const BenchImage result({.size = size, .type = Float64});
    return {
        .ours = [=] { return AccumulatedVariance(series.sums, 1, result); },
        .limit = {.read = 2 * result.pixelBytes() + series.planes[5].pixelBytes(),
                  .written = result.pixelBytes()},
    };
}

const Rows rows{
    {"AccumulateFrames", "1 frame U8", &sumsAndSquares<UInt8, 8, 1>},
    {"AccumulateFrames", "1 frame 12-bit", &sumsAndSquares<UInt16, 12, 1>},
    {"AccumulateFrames", "16 frames U8", &sumsAndSquares<UInt8, 8, 16>},
    {"AccumulateFrames", "16 frames 12-bit", &sumsAndSquares<UInt16, 12, 16>},
    {"AccumulateFrames", "16 frames 12-bit, every plane", &everyPlane<UInt16, 12>},
    {"AccumulateFrames", "16 frames 12-bit, masks", &masked},
    {"MergeAccumulators", "every plane", &merged},
    {"AccumulatedVariance", "16 frames 12-bit", &variance},
};

}  // namespace
}  // namespace ko::bench
