#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/filters.h>

#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

template <ExImageDataType Type, int Bits>
Work sobel(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = Bits}, Scene::Camera);
    const BenchImage dst({.size = size, .type = Int32});
    const cv::Mat magnitude(size, size, CV_32F), dx(size, size, CV_32F), dy(size, size, CV_32F);
    return {
        .ours = [=] { return Sobel(src, dst); },
        .peer = {"2 x Sobel + magnitude",
                 [=, in = src.mat()] {
                     cv::Sobel(in, dx, CV_32F, 1, 0);
                     cv::Sobel(in, dy, CV_32F, 0, 1);
                     cv::magnitude(dx, dy, magnitude);
                 }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"Sobel", "U8", &sobel<UInt8, 8>},
    {"Sobel", "12-bit", &sobel<UInt16, 12>},
    {"Sobel", "U8", &sobel<UInt8, 8>, tinyImage},
    {"Sobel", "U8", &sobel<UInt8, 8>, smallImage},
    {"Sobel", "U8", &sobel<UInt8, 8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
