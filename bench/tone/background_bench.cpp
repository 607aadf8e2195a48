#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/tone.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <vector>

namespace ko::bench {
namespace {

constexpr int frameCount = 16;

template <ExImageDataType Type, int Bits, int Channels = 1>
Work averageImage(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
    std::vector<BenchImage> frames;
    for (int i = 0; i < frameCount; ++i)
        frames.emplace_back(format, Scene::Camera);
    const QVector<SxImageBuf> list(frames.begin(), frames.end());
    const BenchImage dst(format);
    cv::Mat sum(size, size, CV_32FC(Channels)), mean = dst.mat();
    return {
        .ours = [=] { return AverageImage(list, dst); },
        .peer = {"accumulate x 16",
                 [=]() mutable {
                     sum.setTo(0);
                     for (const BenchImage& frame : frames)
                         cv::accumulate(frame.mat(), sum);
                     sum.convertTo(mean, mean.type(), 1.0 / frameCount);
                 }},
        .limit = {.read = frames.front().pixelBytes() * frameCount, .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits>
constexpr double top = (1 << Bits) - 1;

template <ExImageDataType Type, int Bits, int Channels = 1>
Work correctBackground(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
    const BenchImage src(format, Scene::Camera), background(format, Scene::Random), dst(format);
    return {
        .ours = [=] { return CorrectBackground(src, background, dst, 0, 0, nullptr); },
        .peer = {"divide", [=, a = src.mat(), b = background.mat(),
                            out = dst.mat()]() mutable { cv::divide(a, b, out, top<Type, Bits>); }},
        .limit = {.read = src.pixelBytes() + background.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type, int Bits, int Channels = 1>
Work backgroundCorrection(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
    const BenchImage background(format, Scene::Camera), frame(format, Scene::Random);
    // One image for both sides: of two, the one copied last would be nearer in the caches.
    const BenchImage image(format);
    const double factor = top<Type, Bits> / 2;
    const std::vector<double> factors(Channels, factor);
    return {
        .ours = [=] { return BackgroundCorrection(background, image, Channels, factors.data()); },
        .peer = {"divide",
                 [=, b = background.mat(), out = image.mat()]() mutable { cv::divide(out, b, out, factor); }},
        .limit = {.read = background.pixelBytes(), .rewritten = image.pixelBytes()},
        .before = [=] { frame.mat().copyTo(image.mat()); },
    };
}

const Rows rows{
    {"AverageImage", "16 frames U8", &averageImage<UInt8, 8>},
    {"AverageImage", "16 frames 12-bit", &averageImage<UInt16, 12>},
    {"AverageImage", "16 frames U8 RGB", &averageImage<UInt8, 8, 3>},
    {"CorrectBackground", "U8", &correctBackground<UInt8, 8>},
    {"CorrectBackground", "12-bit", &correctBackground<UInt16, 12>},
    {"CorrectBackground", "U8 RGB", &correctBackground<UInt8, 8, 3>},
    {"BackgroundCorrection", "U8", &backgroundCorrection<UInt8, 8>},
    {"BackgroundCorrection", "12-bit", &backgroundCorrection<UInt16, 12>},
    {"BackgroundCorrection", "U8 RGB", &backgroundCorrection<UInt8, 8, 3>},
};

}  // namespace
}  // namespace ko::bench
