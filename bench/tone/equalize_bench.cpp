#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/tone.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <vector>

namespace ko::bench {
namespace {

/// Counts of the samples of a channel at or below each level.
std::vector<double> sumsOf(const cv::Mat& image, int channel, std::size_t levels)
{
    std::vector<unsigned> counts(levels);
    const int channels = image.channels();
    for (int y = 0; y < image.rows; ++y) {
        const std::uint16_t* const row = image.ptr<std::uint16_t>(y);
        for (int x = 0; x < image.cols; ++x)
            ++counts[row[x * channels + channel]];
    }
    std::vector<double> sums(levels);
    double sum = 0;
    for (std::size_t level = 0; level < levels; ++level)
        sums[level] = sum += counts[level];
    return sums;
}

using Tables = std::vector<std::vector<std::uint16_t>>;

/// One table per channel.
void mapThrough(const Tables& tables, const cv::Mat& in, cv::Mat out)
{
    const int channels = in.channels();
    for (int y = 0; y < in.rows; ++y) {
        const std::uint16_t* const from = in.ptr<std::uint16_t>(y);
        std::uint16_t* const to = out.ptr<std::uint16_t>(y);
        for (int x = 0; x < in.cols; ++x) {
            for (int c = 0; c < channels; ++c) {
                const int i = x * channels + c;
                to[i] = tables[static_cast<std::size_t>(c)][from[i]];
            }
        }
    }
}

/// What one would write by hand where the peer has nothing. Colours all by the first.
void equalizeByHand(const cv::Mat& in, const cv::Mat& out, std::size_t levels)
{
    const std::vector<double> sums = sumsOf(in, 0, levels);
    std::vector<std::uint16_t> table(levels);
    for (std::size_t level = 0; level < levels; ++level)
        table[level] =
            static_cast<std::uint16_t>(static_cast<double>(levels - 1) * sums[level] / sums.back());
    mapThrough(Tables(static_cast<std::size_t>(in.channels()), table), in, out);
}

void matchByHand(const cv::Mat& in, const cv::Mat& reference, const cv::Mat& out, std::size_t levels)
{
    Tables tables;
    for (int c = 0; c < in.channels(); ++c) {
        const std::vector<double> source = sumsOf(in, c, levels), target = sumsOf(reference, c, levels);
        std::vector<std::uint16_t>& table = tables.emplace_back(levels);
        std::size_t match = 0;
        for (std::size_t level = 0; level < levels; ++level) {
            while (match + 1 < levels && target[match] < source[level])
                ++match;
            table[level] = static_cast<std::uint16_t>(match);
        }
    }
    mapThrough(tables, in, out);
}

constexpr int levelsOfBytes = 256;

cv::Mat countBytes(const cv::Mat& image, int channel)
{
    const float range[] = {0, levelsOfBytes};
    const float* ranges = range;
    cv::Mat counts;
    cv::calcHist(&image, 1, &channel, cv::Mat(), counts, 1, &levelsOfBytes, &ranges);
    return counts;
}

/// A histogram and a table, as the peer offers them. Colours all by the first.
void equalizeBytes(const cv::Mat& in, const cv::Mat& out)
{
    const cv::Mat counts = countBytes(in, 0);
    cv::Mat table(1, levelsOfBytes, CV_8U);
    double sum = 0;
    for (int level = 0; level < levelsOfBytes; ++level) {
        sum += counts.at<float>(level);
        table.at<std::uint8_t>(level) =
            static_cast<std::uint8_t>(255 * sum / static_cast<double>(in.total()));
    }
    cv::LUT(in, table, out);
}

template <ExImageDataType Type, int Bits, int Channels = 1>
Work equalize(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
    const BenchImage src(format, Scene::Camera), dst(format);
    const Peer opencv{"equalizeHist", [in = src.mat(), out = dst.mat()] { cv::equalizeHist(in, out); }};
    const Peer colours{"calcHist + LUT", [in = src.mat(), out = dst.mat()] { equalizeBytes(in, out); }};
    const Peer loop{"loop",
                    [in = src.mat(), out = dst.mat()] { equalizeByHand(in, out, std::size_t{1} << Bits); }};
    return {
        .ours = [=] { return HistogramEqualize(src, dst); },
        .peer = Type != UInt8   ? loop
                : Channels == 1 ? opencv
                                : colours,
        .limit = {.read = 2 * src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

/// Two histograms and a table per channel, as the peer offers them.
void matchBytes(const cv::Mat& in, const cv::Mat& reference, const cv::Mat& out)
{
    std::vector<cv::Mat> tables;
    for (int channel = 0; channel < in.channels(); ++channel) {
        const cv::Mat source = countBytes(in, channel), target = countBytes(reference, channel);
        cv::Mat& table = tables.emplace_back(1, levelsOfBytes, CV_8U);
        int match = 0;
        double sum = 0, matched = target.at<float>(0);
        for (int level = 0; level < levelsOfBytes; ++level) {
            sum += source.at<float>(level);
            while (match < levelsOfBytes - 1 && matched < sum)
                matched += target.at<float>(++match);
            table.at<std::uint8_t>(level) = static_cast<std::uint8_t>(match);
        }
    }
    cv::Mat table;
    cv::merge(tables, table);
    cv::LUT(in, table, out);
}

template <ExImageDataType Type, int Bits, int Channels = 1>
Work match(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
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
    {"HistogramEqualize", "U8 RGB", &equalize<UInt8, 8, 3>},
    {"HistogramEqualize", "12-bit RGB", &equalize<UInt16, 12, 3>},
    {"HistogramMatch", "U8", &match<UInt8, 8>},
    {"HistogramMatch", "12-bit", &match<UInt16, 12>},
    {"HistogramMatch", "U8 RGB", &match<UInt8, 8, 3>},
    {"HistogramMatch", "12-bit RGB", &match<UInt16, 12, 3>},
};

}  // namespace
}  // namespace ko::bench
