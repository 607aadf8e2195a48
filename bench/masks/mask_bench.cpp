#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/masks.h>

#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

template <ExImageDataType Type, int Channels = 1>
Work maskImage(int size)
{
    const BenchImage image({.size = size, .type = Type, .channels = Channels}, Scene::Camera);
    const BenchImage mask({.size = size});
    cv::Mat drawn = mask.mat();
    drawn = 0;
    cv::circle(drawn, cv::Point(size / 2, size / 2), size * 2 / 5, 255, cv::FILLED);
    const cv::Mat unselected(size, size, CV_8U);
    return {
        .ours = [=] { return MaskImage(image, mask); },
        .peer = {"compare + setTo",
                 [=, in = mask.mat(), out = image.mat()]() mutable {
                     cv::compare(in, 0, unselected, cv::CMP_EQ);
                     out.setTo(0, unselected);
                 }},
        .limit = {.read = mask.pixelBytes(), .rewritten = image.pixelBytes()},
    };
}

const Rows rows{
    {"MaskImage", "U8", &maskImage<UInt8>},
    {"MaskImage", "U16", &maskImage<UInt16>},
    {"MaskImage", "U8 RGB", &maskImage<UInt8, 3>},
    {"MaskImage", "U8", &maskImage<UInt8>, tinyImage},
    {"MaskImage", "U8", &maskImage<UInt8>, smallImage},
    {"MaskImage", "U8", &maskImage<UInt8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
