#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/tone.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <vector>

namespace ko::bench {
namespace {

/// Counts of the samples of a mat at or below each level.
std::vector<double> sumsOf(const cv::Mat& image, std::size_t levels)
{
    std::vector<unsigned> counts(levels);
    for (int y = 0; y < image.rows; ++y) {
        const std::uint16_t* const row = image.ptr<std::uint16_t>(y);
        for (int x = 0; x < image.cols; ++x)
            ++counts[row[x]];
    }
    std::vector<double> sums(levels);
    double sum = 0;
    for (std::size_t level = 0; level < levels; ++level)
        sums[level] = sum += counts[level];
    return sums;
}

void mapThrough(const std::vector<std::uint16_t>& table, const cv::Mat& in, cv::Mat out)
{
    for (int y = 0; y < in.rows; ++y) {
        const std::uint16_t* const from = in.ptr<std::uint16_t>(y);
        std::uint16_t* const to = out.ptr<std::uint16_t>(y);
        for (int x = 0; x < in.cols; ++x)
            to[x] = table[from[x]];
    }
}

/// What one would write by hand where the peer has nothing.
void equalizeByHand(const cv::Mat& in, const cv::Mat& out, std::size_t levels)
{
    const std::vector<double> sums = sumsOf(in, levels);
    std::vector<std::uint16_t> table(levels);
    for (std::size_t level = 0; level < levels; ++level)
        table[level] =
            static_cast<std::uint16_t>(static_cast<double>(levels - 1) * sums[level] / sums.back());
    mapThrough(table, in, out);
}

void matchByHand(const cv::Mat& in, const cv::Mat& reference, const cv::Mat& out, std::size_t levels)
{
    const std::vector<double> source = sumsOf(in, levels), target = sumsOf(reference, levels);
    std::vector<std::uint16_t> table(levels);
    std::size_t match = 0;
    for (std::size_t level = 0; level < levels; ++level) {
        while (match + 1 < levels && target[match] < source[level])
            ++match;
        table[level] = static_cast<std::uint16_t>(match);
    }
    mapThrough(table, in, out);
}

template <ExImageDataType Type, int Bits>
Work equalize(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits};
    const BenchImage src(format, Scene::Camera), dst(format);
    const Peer opencv{"equalizeHist", [in = src.mat(), out = dst.mat()] { cv::equalizeHist(in, out); }};
    const Peer loop{"loop",
                    [in = src.mat(), out = dst.mat()] { equalizeByHand(in, out, std::size_t{1} << Bits); }};
    return {
        .ours = [=] { return HistogramEqualize(src, dst); },
        .peer = Type == UInt8 ? opencv : loop,
        .limit = {.read = 2 * src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

Work equalizeColour(int size)
{
    const Format format{.size = size, .channels = 3};
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return HistogramEqualize(src, dst); },
        .limit = {.read = 2 * src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

/// Two histograms and a table, as the peer offers them.
void matchBytes(const cv::Mat& in, const cv::Mat& reference, const cv::Mat& out)
{
    const int channel = 0, levels = 256;
    const float range[] = {0, 256};
    const float* ranges = range;
    cv::Mat source, target, table(1, levels, CV_8U);
    cv::calcHist(&in, 1, &channel, cv::Mat(), source, 1, &levels, &ranges);
    cv::calcHist(&reference, 1, &channel, cv::Mat(), target, 1, &levels, &ranges);
    int match = 0;
    double sum = 0, matched = target.at<float>(0);
    for (int level = 0; level < levels; ++level) {
        sum += source.at<float>(level);
        while (match < levels - 1 && matched < sum)
            matched += target.at<float>(++match);
        table.at<std::uint8_t>(level) = static_cast<std::uint8_t>(match);
    }
    cv::LUT(in, table, out);
}

template <ExImageDataType Type, int Bits>
Work match(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits};
    const BenchImage src(format, Scene::Camera), reference(format, Scene::Random), dst(format);
    const Peer opencv{"calcHist + LUT", [in = src.mat(), other = reference.mat(), out = dst.mat()] {
                          matchBytes(in, other, out);
                      }};
    const Peer loop{"loop", [in = src.mat(), other = reference.mat(), out = dst.mat()] {
                        matchByHand(in, other, out, std::size_t{1} << Bits);
                    }};
    return {
        .ours = [=] { return HistogramMatch(src, static_cast<const SxImageBuf&>(reference), dst); },
        .peer = Type == UInt8 ? opencv : loop,
        .limit = {.read = 2 * src.pixelBytes() + reference.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"HistogramEqualize", "U8", &equalize<UInt8, 8>},
    {"HistogramEqualize", "12-bit", &equalize<UInt16, 12>},
    {"HistogramEqualize", "16-bit", &equalize<UInt16, 16>},
    {"HistogramEqualize", "U8 RGB", &equalizeColour},
    {"HistogramMatch", "U8", &match<UInt8, 8>},
    {"HistogramMatch", "12-bit", &match<UInt16, 12>},
};

}  // namespace
}  // namespace ko::bench
