#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/means.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

template <ExImageDataType Type, int bits, int channels>
Work mean(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits, .channels = channels}, Scene::Camera);
    return {
        .ours =
            [=] {
                double means[channels];
                return Mean(src, QRect(0, 0, size, size), means);
            },
        .peer = {"mean", [=, in = src.mat()] { cv::mean(in); }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type, int bits, int channels>
Work meanMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits, .channels = channels}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=] {
                double means[channels];
                return MeanMasked(src, mask, means);
            },
        .peer = {"mean with mask", [=, in = src.mat(), selected = mask.mat()] { cv::mean(in, selected); }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

template <ExImageDataType Type, int bits>
Work meanStdDevMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=] {
                double mean, stdDev;
                return MeanStdDevMasked(src, mask, &mean, &stdDev);
            },
        .peer = {"meanStdDev with mask",
                 [=, in = src.mat(), selected = mask.mat()] {
                     cv::Scalar mean, stdDev;
                     cv::meanStdDev(in, mean, stdDev, selected);
                 }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

const Rows rows{
    {"Mean", "U8", &mean<UInt8, 8, 1>},
    {"Mean", "12-bit", &mean<UInt16, 12, 1>},
    {"Mean", "U8 RGB", &mean<UInt8, 8, 3>},
    {"MeanMasked", "U8", &meanMasked<UInt8, 8, 1>},
    {"MeanMasked", "U8 RGB", &meanMasked<UInt8, 8, 3>},
    {"MeanMasked", "F32", &meanMasked<Float32, 0, 1>},
    {"MeanStdDevMasked", "U8", &meanStdDevMasked<UInt8, 8>},
    {"MeanStdDevMasked", "12-bit", &meanStdDevMasked<UInt16, 12>},
    {"Mean", "U8", &mean<UInt8, 8, 1>, tinyImage},
    {"Mean", "U8", &mean<UInt8, 8, 1>, smallImage},
    {"Mean", "U8", &mean<UInt8, 8, 1>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
