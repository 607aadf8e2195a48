#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/histogram.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <memory>

namespace ko::bench {
namespace {

std::shared_ptr<CxImageHistogram> newHistogram(int planes, int bits)
{
    const auto hist = std::make_shared<CxImageHistogram>();
    hist->resize(planes, 1 << bits, 0);
    return hist;
}

/// The peer's histogram of one channel, one bin per value.
void calcHist(const cv::Mat& image, int channel, const cv::Mat& mask, int bits, cv::Mat& counts)
{
    const int levels = 1 << bits;
    const float range[] = {0, static_cast<float>(levels)};
    const float* ranges = range;
    cv::calcHist(&image, 1, &channel, mask, counts, 1, &levels, &ranges);
}

template <ExImageDataType Type, int Bits, Scene Content>
Work histogram(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = Bits}, Content);
    const auto hist = newHistogram(1, Bits);
    return {
        .ours = [=] { return Histogram(src, *hist); },
        .peer = {"calcHist",
                 [=, in = src.mat()] {
                     cv::Mat counts;
                     calcHist(in, 0, cv::Mat(), Bits, counts);
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work histogramOfColour(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = Bits, .channels = 3}, Scene::Camera);
    const auto hist = newHistogram(3, Bits);
    return {
        .ours = [=] { return Histogram(src, *hist); },
        .peer = {"calcHist per channel",
                 [=, in = src.mat()] {
                     for (int channel = 0; channel < 3; ++channel) {
                         cv::Mat counts;
                         calcHist(in, channel, cv::Mat(), Bits, counts);
                     }
                 }},
        .limit = {.read = src.pixelBytes()},
    };
}

/// A mask of which every second pixel, at random, is set.
BenchImage noiseMask(int size)
{
    const BenchImage mask({.size = size}, Scene::Random);
    cv::Mat bytes = mask.mat();
    cv::compare(bytes, 127, bytes, cv::CMP_GT);
    return mask;
}

template <ExImageDataType Type, int Bits, bool Noise>
Work histogramMasked(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = Bits}, Scene::Camera);
    const BenchImage mask = Noise ? noiseMask(size) : BenchImage({.size = size}, Scene::Disc);
    const auto hist = newHistogram(1, Bits);
    return {
        .ours = [=] { return HistogramMasked(src, mask, *hist); },
        .peer = {"calcHist with mask",
                 [=, in = src.mat(), selected = mask.mat()] {
                     cv::Mat counts;
                     calcHist(in, 0, selected, Bits, counts);
                 }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

Work histogramMaskedOfColour(int size)
{
    const BenchImage src({.size = size, .channels = 3}, Scene::Camera), mask({.size = size}, Scene::Disc);
    const auto hist = newHistogram(3, 8);
    return {
        .ours = [=] { return HistogramMasked(src, mask, *hist); },
        .peer = {"calcHist per channel",
                 [=, in = src.mat(), selected = mask.mat()] {
                     for (int channel = 0; channel < 3; ++channel) {
                         cv::Mat counts;
                         calcHist(in, channel, selected, 8, counts);
                     }
                 }},
        .limit = {.read = src.pixelBytes() + mask.pixelBytes()},
    };
}

const Rows rows{
    {"Histogram", "U8", &histogram<UInt8, 8, Scene::Camera>},
    {"Histogram", "12-bit", &histogram<UInt16, 12, Scene::Camera>},
    {"Histogram", "16-bit", &histogram<UInt16, 16, Scene::Camera>},
    {"Histogram", "U8 flat", &histogram<UInt8, 8, Scene::Flat>},
    {"Histogram", "12-bit flat", &histogram<UInt16, 12, Scene::Flat>},
    {"Histogram", "U8 random", &histogram<UInt8, 8, Scene::Random>},
    {"Histogram", "16-bit random", &histogram<UInt16, 16, Scene::Random>},
    {"Histogram", "U8 RGB", &histogramOfColour<UInt8, 8>},
    {"Histogram", "12-bit RGB", &histogramOfColour<UInt16, 12>},
    {"HistogramMasked", "U8 disc mask", &histogramMasked<UInt8, 8, false>},
    {"HistogramMasked", "U8 noise mask", &histogramMasked<UInt8, 8, true>},
    {"HistogramMasked", "12-bit disc mask", &histogramMasked<UInt16, 12, false>},
    {"HistogramMasked", "12-bit noise mask", &histogramMasked<UInt16, 12, true>},
    {"HistogramMasked", "U8 RGB disc mask", &histogramMaskedOfColour},
    {"Histogram", "U8", &histogram<UInt8, 8, Scene::Camera>, tinyImage},
    {"Histogram", "U8 RGB", &histogramOfColour<UInt8, 8>, smallImage},
    {"Histogram", "U8", &histogram<UInt8, 8, Scene::Camera>, smallImage},
    {"Histogram", "U8", &histogram<UInt8, 8, Scene::Camera>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
