#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/entropy.h>

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace ko::bench {
namespace {

/// Entropy in bits from the peer's histogram.
double entropyOf(const cv::Mat& image, int levels)
{
    cv::Mat hist;
    const float range[] = {0.0F, static_cast<float>(levels)};
    const float* ranges = range;
    const int channel = 0;
    cv::calcHist(&image, 1, &channel, cv::Mat(), hist, 1, &levels, &ranges);
    double entropy = 0.0;
    for (int level = 0; level < levels; ++level) {
        const double share = static_cast<double>(hist.at<float>(level)) / static_cast<double>(image.total());
        if (share > 0.0)
            entropy -= share * std::log2(share);
    }
    return entropy;
}

template <ExImageDataType Type, int bits>
Work entropyShannon(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits}, Scene::Camera);
    return {
        .ours =
            [=] {
                double entropy;
                return EntropyShannon(src, entropy, 2.0);
            },
        .peer = {"calcHist + log2",
                 [=, in = src.mat()] {
                     volatile double entropy = entropyOf(in, 1 << bits);
                     static_cast<void>(entropy);
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type, int bits>
Work otsuMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = bits}, Scene::Camera);
    const BenchImage mask({.size = size}, Scene::Disc);
    const cv::Mat out(size, size, Type == UInt8 ? CV_8U : CV_16U);
    return {
        .ours =
            [=] {
                unsigned threshold;
                return ComputeOtsuThresholdMasked(src, mask, threshold);
            },
        .peer = {"threshold OTSU (no mask)",
                 [=, in = src.mat()] { cv::threshold(in, out, 0, 1, cv::THRESH_BINARY | cv::THRESH_OTSU); }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

const Rows rows{
    {"ComputeOtsuThresholdMasked", "U8", &otsuMasked<UInt8, 8>},
    {"ComputeOtsuThresholdMasked", "16-bit", &otsuMasked<UInt16, 16>},
    {"EntropyShannon", "U8", &entropyShannon<UInt8, 8>},
    {"EntropyShannon", "12-bit", &entropyShannon<UInt16, 12>},
    {"EntropyShannon", "16-bit", &entropyShannon<UInt16, 16>},
};

}  // namespace
}  // namespace ko::bench
