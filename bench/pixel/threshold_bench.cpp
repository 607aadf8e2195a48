#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/pixel.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

namespace ko::bench {
namespace {

template <ExImageDataType Type>
constexpr int middle = Type == UInt8 ? 128 : 32768;

template <ExImageDataType Type, int Channels>
Work binaryCopy(int size)
{
    const Format format{.size = size, .type = Type, .channels = Channels};
    const BenchImage src(format, Scene::Camera), dst(format);
    const std::vector<QVariant> thresholds(Channels, middle<Type>), lows(Channels, 0), highs(Channels, 255);
    return {
        .ours = [=] { return ThresholdBinary(src, dst, thresholds.data(), lows.data(), highs.data()); },
        .peer = {"threshold",
                 [=, in = src.mat(), out = dst.mat()] {
                     cv::threshold(in, out, middle<Type>, 255, cv::THRESH_BINARY);
                 }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work binaryInPlace(int size)
{
    const Format format{.size = size, .type = Type};
    const BenchImage image(format, Scene::Camera), theirs(format, Scene::Camera);
    return {
        .ours = [=] { return ThresholdBinary(image, middle<Type>, 0, 255); },
        .peer = {"threshold",
                 [=] { cv::threshold(theirs.mat(), theirs.mat(), middle<Type>, 255, cv::THRESH_BINARY); }},
        .limit = {.rewritten = image.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work keepAbove(int size)
{
    const Format format{.size = size, .type = Type};
    const BenchImage image(format, Scene::Camera), theirs(format, Scene::Camera);
    const QVariant threshold(middle<Type>), value(0);
    return {
        .ours = [=] { return ThresholdGT(image, &threshold, &value, false); },
        .peer = {"threshold TOZERO",
                 [=] { cv::threshold(theirs.mat(), theirs.mat(), middle<Type>, 0, cv::THRESH_TOZERO); }},
        .limit = {.rewritten = image.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work mark(int size)
{
    const BenchImage src({.size = size, .type = Type}, Scene::Camera);
    const BenchImage dst({.size = size});
    const QVariant threshold(middle<Type>);
    return {
        .ours =
            [=] {
                unsigned char high = 255;
                return ThresholdBinaryGT(src, dst, &threshold, &high, false);
            },
        .peer = {"compare GT",
                 [=, in = src.mat(), out = dst.mat()] { cv::compare(in, middle<Type>, out, cv::CMP_GT); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"ThresholdBinary copy", "U8", &binaryCopy<UInt8, 1>},
    {"ThresholdBinary copy", "U16", &binaryCopy<UInt16, 1>},
    {"ThresholdBinary copy", "U8 RGB", &binaryCopy<UInt8, 3>},
    {"ThresholdBinary copy", "U8 RGBA", &binaryCopy<UInt8, 4>},
    {"ThresholdBinary in place", "U8", &binaryInPlace<UInt8>},
    {"ThresholdBinary in place", "U16", &binaryInPlace<UInt16>},
    {"ThresholdGT", "U8", &keepAbove<UInt8>},
    {"ThresholdGT", "U16", &keepAbove<UInt16>},
    {"ThresholdBinaryGT", "U8", &mark<UInt8>},
    {"ThresholdBinaryGT", "U16", &mark<UInt16>},
    {"ThresholdBinary copy", "U8", &binaryCopy<UInt8, 1>, tinyImage},
    {"ThresholdBinary copy", "U8", &binaryCopy<UInt8, 1>, smallImage},
    {"ThresholdBinary copy", "U8", &binaryCopy<UInt8, 1>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
