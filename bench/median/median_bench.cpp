#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/median.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::bench {
namespace {

/// A histogram that slides along each row, with the samples below the median counted: what one writes for
/// depths and radii that the peer does not have.
void slideHistogram(const cv::Mat& src, const cv::Mat& dst, int radius, int levels)
{
    const auto at = [](const cv::Mat& mat, int y, int x) -> std::uint16_t& {
        return *reinterpret_cast<std::uint16_t*>(mat.data + static_cast<std::size_t>(y) * mat.step[0] +
                                                 static_cast<std::size_t>(x) * sizeof(std::uint16_t));
    };
#pragma omp parallel for schedule(dynamic)
    for (int y = 0; y < src.rows; ++y) {
        std::vector<std::uint32_t> histogram(static_cast<std::size_t>(levels));
        const int top = std::max(0, y - radius), bottom = std::min(src.rows - 1, y + radius);
        std::uint32_t median = 0;
        std::int64_t below = 0, count = 0;
        const auto change = [&](int x, int by) {
            for (int v = top; v <= bottom; ++v) {
                const std::uint16_t value = at(src, v, x);
                histogram[value] += static_cast<std::uint32_t>(by);
                below += value < median ? by : 0;
                count += by;
            }
        };
        for (int x = 0; x < std::min(radius, src.cols); ++x)
            change(x, 1);
        for (int x = 0; x < src.cols; ++x) {
            if (x + radius < src.cols)
                change(x + radius, 1);
            if (x - radius - 1 >= 0)
                change(x - radius - 1, -1);
            const std::int64_t rank = (count + 1) / 2;
            while (below >= rank)
                below -= histogram[--median];
            while (below + histogram[median] < rank)
                below += histogram[median++];
            at(dst, y, x) = static_cast<std::uint16_t>(median);
        }
    }
}

template <int Radius, ExImageDataType Type, int Bits, int Channels, Scene Pattern = Scene::Camera>
Work median(int size)
{
    const Format format{.size = size, .type = Type, .bits = Bits, .channels = Channels};
    const BenchImage src(format, Pattern);
    const BenchImage dst(format);
    constexpr bool hasPeer = Type == UInt8 || Radius <= 2;
    return {
        .ours = [=] { return Median(src, dst, Radius, nullptr); },
        .peer = hasPeer ? Peer{"medianBlur", [=, in = src.mat(),
                                              out = dst.mat()] { cv::medianBlur(in, out, 2 * Radius + 1); }}
                        : Peer{"loop", [=, in = src.mat(),
                                        out = dst.mat()] { slideHistogram(in, out, Radius, 1 << Bits); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <int Radius>
std::string name()
{
    return "Median r=" + std::to_string(Radius);
}

template <int Radius>
Row u8()
{
    return {name<Radius>(), "U8", &median<Radius, UInt8, 8, 1>};
}
/// What changes from pixel to pixel takes other ways than what rises slowly.
template <int Radius>
Row random()
{
    return {name<Radius>(), "U8 random", &median<Radius, UInt8, 8, 1, Scene::Random>};
}
template <int Radius>
Row rgb()
{
    return {name<Radius>(), "U8 RGB", &median<Radius, UInt8, 8, 3>};
}
template <int Radius>
Row deep12()
{
    return {name<Radius>(), "12-bit", &median<Radius, UInt16, 12, 1>};
}
template <int Radius>
Row deep16()
{
    return {name<Radius>(), "16-bit", &median<Radius, UInt16, 16, 1>};
}

const Rows rows{
    u8<1>(),     u8<2>(),     u8<3>(),     u8<5>(),      u8<7>(),     u8<8>(),     u8<20>(),
    rgb<1>(),    rgb<2>(),    rgb<3>(),    rgb<5>(),     rgb<7>(),    rgb<8>(),    rgb<20>(),
    deep12<1>(), deep12<2>(), deep12<5>(), deep12<20>(), deep16<1>(), deep16<2>(), deep16<4>(),
    deep16<5>(), deep16<7>(), deep16<8>(), deep16<20>(), random<5>(), random<8>(), random<20>(),
};

}  // namespace
}  // namespace ko::bench
