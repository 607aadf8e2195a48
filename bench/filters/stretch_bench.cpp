#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/filters.h>

#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

/// Ratios are given for rows of 2048; other sizes keep them.
int scaled(int size, int of2048)
{
    return size * of2048 / 2048;
}

ResultCode stretch(const SxImageBuf& src, SxImageBuf& dst)
{
    return Stretch(src, dst, InterpolationLinear);
}

template <auto Operation, ExImageDataType Type, int Channels, int From, int To>
Work scale(int size)
{
    constexpr int bits = Type == UInt16 ? 12 : 8;
    const BenchImage src({.size = scaled(size, From), .type = Type, .bits = bits, .channels = Channels},
                         Scene::Camera);
    const BenchImage dst({.size = scaled(size, To), .type = Type, .bits = bits, .channels = Channels});
    // The peer's choice that averages all source samples, as ours does, where the picture gets smaller.
    const int method = To > From ? cv::INTER_LINEAR : cv::INTER_AREA;
    return {
        .ours = [=] { return Operation(src, dst); },
        .peer = {To > From ? "resize LINEAR" : "resize AREA",
                 [=, in = src.mat(), out = dst.mat()] { cv::resize(in, out, out.size(), 0, 0, method); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"Stretch 1024->2048", "U8", &scale<stretch, UInt8, 1, 1024, 2048>},
    {"Stretch 1024->2048", "12-bit", &scale<stretch, UInt16, 1, 1024, 2048>},
    {"Stretch 1024->2048", "U8 RGB", &scale<stretch, UInt8, 3, 1024, 2048>},
    {"Stretch 1024->2048", "12-bit RGB", &scale<stretch, UInt16, 3, 1024, 2048>},
    {"Stretch 1500->2048", "U8", &scale<stretch, UInt8, 1, 1500, 2048>},
    {"Stretch 1500->2048", "12-bit", &scale<stretch, UInt16, 1, 1500, 2048>},
    {"Stretch 2048->1024", "U8", &scale<stretch, UInt8, 1, 2048, 1024>},
    {"Stretch 2048->1024", "12-bit", &scale<stretch, UInt16, 1, 2048, 1024>},
    {"Stretch 2048->1024", "U8 RGB", &scale<stretch, UInt8, 3, 2048, 1024>},
    {"Stretch 2048->1024", "12-bit RGB", &scale<stretch, UInt16, 3, 2048, 1024>},
    {"Stretch 2048->1500", "U8", &scale<stretch, UInt8, 1, 2048, 1500>},
    {"Stretch 2048->1500", "12-bit", &scale<stretch, UInt16, 1, 2048, 1500>},
    {"Stretch 1024->2048", "U8", &scale<stretch, UInt8, 1, 1024, 2048>, tinyImage},
    {"Stretch 1024->2048", "U8", &scale<stretch, UInt8, 1, 1024, 2048>, smallImage},
    {"Stretch 1024->2048", "U8", &scale<stretch, UInt8, 1, 1024, 2048>, hugeImage},
    {"Resize 2048->1024", "U8", &scale<Resize, UInt8, 1, 2048, 1024>},
    {"Resize 2048->1024", "12-bit", &scale<Resize, UInt16, 1, 2048, 1024>},
    {"Resize 2048->1024", "U8 RGB", &scale<Resize, UInt8, 3, 2048, 1024>},
    {"Resize 2048->1500", "U8", &scale<Resize, UInt8, 1, 2048, 1500>},
    {"Resize 2048->1500", "12-bit", &scale<Resize, UInt16, 1, 2048, 1500>},
    {"Resize 2048->1500", "U8 RGB", &scale<Resize, UInt8, 3, 2048, 1500>},
    {"Resize 2048->512", "U8", &scale<Resize, UInt8, 1, 2048, 512>},
    {"Resize 2048->512", "12-bit", &scale<Resize, UInt16, 1, 2048, 512>},
    {"Resize 2048->512", "U8 RGB", &scale<Resize, UInt8, 3, 2048, 512>},
    {"Resize 1024->2048", "U8", &scale<Resize, UInt8, 1, 1024, 2048>},
    {"Resize 1024->2048", "12-bit", &scale<Resize, UInt16, 1, 1024, 2048>},
    {"Resize 1024->2048", "U8 RGB", &scale<Resize, UInt8, 3, 1024, 2048>},
    {"Resize 1500->2048", "U8", &scale<Resize, UInt8, 1, 1500, 2048>},
    {"Resize 1500->2048", "12-bit", &scale<Resize, UInt16, 1, 1500, 2048>},
    {"Resize 1500->2048", "U8 RGB", &scale<Resize, UInt8, 3, 1500, 2048>},
};

}  // namespace
}  // namespace ko::bench
