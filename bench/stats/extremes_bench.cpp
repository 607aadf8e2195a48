#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/extremes.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

template <ExImageDataType Type>
Work minMax(int size)
{
    const BenchImage src({.size = size, .type = Type}, Scene::Camera);
    return {
        .ours =
            [=] {
                QVariant min, max;
                return MinMax(src, &min, &max);
            },
        .peer = {"minMaxLoc",
                 [=, in = src.mat()] {
                     double min, max;
                     cv::minMaxLoc(in, &min, &max);
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work minMaxMasked(int size)
{
    const BenchImage src({.size = size, .type = Type}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=] {
                QVariant min, max;
                return MinMaxMasked(src, mask, &min, &max);
            },
        .peer = {"minMaxLoc with mask",
                 [=, in = src.mat(), selected = mask.mat()] {
                     double min, max;
                     cv::minMaxLoc(in, &min, &max, nullptr, nullptr, selected);
                 }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

const Rows rows{
    {"MinMax", "U8", &minMax<UInt8>},
    {"MinMax", "U16", &minMax<UInt16>},
    {"MinMax", "F32", &minMax<Float32>},
    {"MinMax", "F64", &minMax<Float64>},
    {"MinMaxMasked", "U8", &minMaxMasked<UInt8>},
    {"MinMaxMasked", "U16", &minMaxMasked<UInt16>},
    {"MinMax", "U8", &minMax<UInt8>, tinyImage},
    {"MinMax", "U8", &minMax<UInt8>, smallImage},
    {"MinMax", "U8", &minMax<UInt8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
