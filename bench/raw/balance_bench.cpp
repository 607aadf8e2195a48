#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/raw.h>

#include <algorithm>
#include <type_traits>

namespace ko::bench {
namespace {

constexpr double gains[] = {1.9, 1, 1, 1.4};
constexpr int blackLevels[] = {8, 8, 8, 8};

template <class T>
void balanceMosaic(const cv::Mat& in, cv::Mat& out, float top)
{
    for (int y = 0; y < in.rows; ++y) {
        const T* const from = in.ptr<T>(y);
        T* const to = out.ptr<T>(y);
        for (int x = 0; x < in.cols; ++x) {
            const int colour = x % 2 + 2 * (y % 2);
            const float light = static_cast<float>(std::max(from[x] - blackLevels[colour], 0));
            to[x] = static_cast<T>(std::min(light * static_cast<float>(gains[colour]) + 0.5F, top));
        }
    }
}

template <ExImageDataType Type>
Work balance(int size)
{
    using T = std::conditional_t<Type == UInt8, std::uint8_t, std::uint16_t>;
    const int bits = Type == UInt8 ? 8 : 12;
    const Format format{.size = size, .type = Type, .bits = bits, .bayerGrid = BayerRGGB};
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return WhiteBalance(src, dst, gains, blackLevels); },
        .peer = {"loop",
                 [=, in = src.mat(), out = dst.mat()]() mutable {
                     balanceMosaic<T>(in, out, Type == UInt8 ? 255.0F : 4095.0F);
                 }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

Work balanceColour(int size)
{
    const Format format{.size = size, .type = UInt16, .bits = 12, .channels = 3};
    const BenchImage src(format, Scene::Camera), dst(format);
    return {
        .ours = [=] { return WhiteBalance(src, dst, gains, nullptr); },
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"WhiteBalance", "U8 mosaic", &balance<UInt8>},
    {"WhiteBalance", "12-bit mosaic", &balance<UInt16>},
    {"WhiteBalance", "12-bit RGB", &balanceColour},
};

}  // namespace
}  // namespace ko::bench
