#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/moments.h>

#include <opencv2/core.hpp>

#include <array>

namespace ko::bench {
namespace {

template <ExImageDataType Type, int bits, int channels>
Work moments(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits, .channels = channels}, Scene::Camera);
    return {
        .ours =
            [=] {
                std::array<SxMoments, channels> found;
                return Moments(src, found.data());
            },
        .peer = {"meanStdDev",
                 [=, in = src.mat()] {
                     cv::Scalar mean, stdDev;
                     cv::meanStdDev(in, mean, stdDev);
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type, int bits, int channels>
Work momentsMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits, .channels = channels}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=] {
                std::array<SxMoments, channels> found;
                return MomentsMasked(src, mask, found.data());
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
    {"Moments", "U8", &moments<UInt8, 8, 1>},
    {"Moments", "12-bit", &moments<UInt16, 12, 1>},
    {"Moments", "U8 RGB", &moments<UInt8, 8, 3>},
    {"MomentsMasked", "U8", &momentsMasked<UInt8, 8, 1>},
    {"MomentsMasked", "12-bit", &momentsMasked<UInt16, 12, 1>},
    {"MomentsMasked", "U8 RGB", &momentsMasked<UInt8, 8, 3>},
    {"Moments", "U8", &moments<UInt8, 8, 1>, smallImage},
};

}  // namespace
}  // namespace ko::bench
