#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/extremes.h>

#include <opencv2/core.hpp>

#include <array>

namespace ko::bench {
namespace {

template <ExImageDataType Type, int Channels = 1>
Work minMax(int size)
{
    const BenchImage src({.size = size, .type = Type, .channels = Channels}, Scene::Camera);
    return {
        .ours =
            [=] {
                std::array<QVariant, Channels> min, max;
                return MinMax(src, min.data(), max.data());
            },
        // The peer takes one channel.
        .peer = {Channels == 1 ? "minMaxLoc" : "minMaxLoc of all samples",
                 [=, in = src.mat().reshape(1)] {
                     double min, max;
                     cv::minMaxLoc(in, &min, &max);
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type, int Channels = 1>
Work minMaxMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .channels = Channels}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    return {
        .ours =
            [=] {
                std::array<QVariant, Channels> min, max;
                return MinMaxMasked(src, mask, min.data(), max.data());
            },
        .peer = Channels == 1 ? Peer{"minMaxLoc with mask",
                                     [=, in = src.mat(), selected = mask.mat()] {
                                         double min, max;
                                         cv::minMaxLoc(in, &min, &max, nullptr, nullptr, selected);
                                     }}
                              : Peer{},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

const Rows rows{
    {"MinMax", "U8", &minMax<UInt8>},
    {"MinMax", "U16", &minMax<UInt16>},
    {"MinMax", "F32", &minMax<Float32>},
    {"MinMax", "F64", &minMax<Float64>},
    {"MinMax", "U8 RGB", &minMax<UInt8, 3>},
    {"MinMaxMasked", "U8", &minMaxMasked<UInt8>},
    {"MinMaxMasked", "U8 RGB", &minMaxMasked<UInt8, 3>},
    {"MinMaxMasked", "U16", &minMaxMasked<UInt16>},
    {"MinMax", "U8", &minMax<UInt8>, tinyImage},
    {"MinMax", "U8", &minMax<UInt8>, smallImage},
    {"MinMax", "U8", &minMax<UInt8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
