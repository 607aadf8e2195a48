#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/stats/joint_histogram.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <memory>

namespace ko::bench {
namespace {

/// Two frames of one scene: channels of a colour image differ in light and noise.
struct Frames {
    BenchImage first;
    BenchImage second;

    Frames(int size, ExImageDataType type, int bits)
        : first({.size = size, .type = type, .bits = bits}, Scene::Camera),
          second({.size = size, .type = type, .bits = bits})
    {
        const BenchImage colour({.size = size, .type = type, .bits = bits, .channels = 2}, Scene::Camera);
        cv::Mat out = second.mat();
        cv::extractChannel(colour.mat(), out, 1);
    }
};

/// What the peer needs for two images with one bin per value: rows are the second image's values.
struct PeerArguments {
    std::vector<cv::Mat> images;
    int channels[2] = {1, 0};
    int levels[2];
    float range[2];
    const float* ranges[2] = {range, range};

    PeerArguments(const Frames& frames, int bits)
        : images{frames.first.mat(), frames.second.mat()},
          levels{1 << bits, 1 << bits},
          range{0, static_cast<float>(1 << bits)}
    {
    }
    PeerArguments(const PeerArguments&) = delete;
    PeerArguments& operator=(const PeerArguments&) = delete;
};

template <ExImageDataType Type, int Bits>
Work histogramMasked2D(int size)
{
    const Frames frames(size, Type, Bits);
    const BenchImage mask({.size = size}, Scene::Disc);
    const auto hist = std::make_shared<CxImageHistogram2D>(1, 1 << Bits);
    const auto peer = std::make_shared<PeerArguments>(frames, Bits);
    const auto counts = std::make_shared<cv::Mat>();
    return {
        .ours = [=] { return HistogramMasked2D(frames.first, frames.second, mask, *hist); },
        .peer = {"calcHist 2-D with mask",
                 [=, selected = mask.mat()] {
                     cv::calcHist(peer->images.data(), 2, peer->channels, selected, *counts, 2, peer->levels,
                                  peer->ranges, true, true);
                 }},
        .limit = {.read = 2 * frames.first.pixelBytes() + mask.pixelBytes()},
    };
}

/// Both sides start from an empty histogram and fill it.
template <ExImageDataType Type, int Bits>
Work histogram2D(int size)
{
    const Frames frames(size, Type, Bits);
    const auto peer = std::make_shared<PeerArguments>(frames, Bits);
    return {
        .ours =
            [=] {
                CxImageHistogramSparse2D hist(1, 1 << Bits);
                return Histogram2D(frames.first, frames.second, hist);
            },
        .peer = {"calcHist SparseMat",
                 [=] {
                     cv::SparseMat counts;
                     cv::calcHist(peer->images.data(), 2, peer->channels, cv::Mat(), counts, 2, peer->levels,
                                  peer->ranges);
                 }},
        .limit = {.read = 2 * frames.first.pixelBytes()},
    };
}

const Rows rows{
    {"HistogramMasked2D dense", "U8 disc mask", &histogramMasked2D<UInt8, 8>},
    {"HistogramMasked2D dense", "12-bit disc mask", &histogramMasked2D<UInt16, 12>},
    {"Histogram2D sparse", "U8", &histogram2D<UInt8, 8>},
    {"Histogram2D sparse", "12-bit", &histogram2D<UInt16, 12>},
};

}  // namespace
}  // namespace ko::bench
