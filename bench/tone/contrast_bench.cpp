#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/tone.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

/// The middle half of the levels.
struct Band {
    int low;
    int high;
};

Band bandOf(const Format& format)
{
    const int levels = 1 << (format.bits != 0 ? format.bits : 8 * bytesPerSample(format.type));
    return {levels / 4, levels / 4 * 3};
}

/// The peer's way for bytes: a table, whatever it holds.
Peer lookUp(const BenchImage& src, const BenchImage& dst)
{
    cv::Mat table(1, 256, CV_8U);
    for (int level = 0; level < 256; ++level)
        table.at<std::uint8_t>(level) = static_cast<std::uint8_t>(255 - level);
    return {"LUT", [in = src.mat(), out = dst.mat(), table] { cv::LUT(in, table, out); }};
}

/// And for words: a factor and an offset, and a limit.
Peer convert(const BenchImage& src, const BenchImage& dst, Band band, double factor)
{
    return {"convertTo + threshold", [=, in = src.mat(), out = dst.mat()] {
                cv::Mat result = out;
                in.convertTo(result, in.type(), factor, -factor * band.low);
                cv::threshold(result, result, 4095, 0, cv::THRESH_TOZERO_INV);
            }};
}

template <ExImageDataType Type, int Bits>
Work copyMono(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogram(src, 0, dst, 0, band.low, band.high); },
        .peer = Type == UInt8 ? lookUp(src, dst) : convert(src, dst, band, 2),
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work copyChannel(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = 3};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogram(src, 1, dst, 1, band.low, band.high); },
        .limit = {.read = src.pixelBytes(), .rewritten = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work copyMasked(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format), mask({.size = size}, Scene::Disc);
    return {
        .ours = [=] { return ThresholdAndStretchHistogramMasked(src, 0, dst, 0, mask, band.low, band.high); },
        .limit = {.read = src.pixelBytes() + mask.pixelBytes(), .rewritten = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work grayMono(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogramGray(src, dst, band.low, band.high); },
        .peer = Type == UInt8 ? lookUp(src, dst) : convert(src, dst, band, 0.5),
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work grayColour(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = 3};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogramGray(src, dst, band.low, band.high); },
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
Work grayRaw(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = 4, .packing = Planar};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogramGrayRawPlanar(src, dst, band.low, band.high); },
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes() / 4 * 3},
    };
}

template <ExImageDataType Type, int Bits>
Work green(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = 4, .packing = Planar};
    const Band band = bandOf(format);
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return ThresholdAndStretchHistogramGreenRawPlanar(src, dst, 1, band.low, band.high); },
        .limit = {.read = src.pixelBytes() / 2, .written = dst.pixelBytes() / 4},
    };
}

const Rows rows{
    {"ThresholdAndStretchHistogram copy", "U8", &copyMono<UInt8, 8>},
    {"ThresholdAndStretchHistogram copy", "12-bit", &copyMono<UInt16, 12>},
    {"ThresholdAndStretchHistogram copy", "U8 RGB channel", &copyChannel<UInt8, 8>},
    {"ThresholdAndStretchHistogram copy", "12-bit RGB channel", &copyChannel<UInt16, 12>},
    {"ThresholdAndStretchHistogramMasked copy", "U8 disc mask", &copyMasked<UInt8, 8>},
    {"ThresholdAndStretchHistogramMasked copy", "12-bit disc mask", &copyMasked<UInt16, 12>},
    {"ThresholdAndStretchHistogramGray", "U8", &grayMono<UInt8, 8>},
    {"ThresholdAndStretchHistogramGray", "12-bit", &grayMono<UInt16, 12>},
    {"ThresholdAndStretchHistogramGray", "U8 RGB", &grayColour<UInt8, 8>},
    {"ThresholdAndStretchHistogramGray", "12-bit RGB", &grayColour<UInt16, 12>},
    {"ThresholdAndStretchHistogramGrayRawPlanar", "12-bit", &grayRaw<UInt16, 12>},
    {"ThresholdAndStretchHistogramGreenRawPlanar", "U8", &green<UInt8, 8>},
    {"ThresholdAndStretchHistogramGreenRawPlanar", "12-bit", &green<UInt16, 12>},
};

}  // namespace
}  // namespace ko::bench
