#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/pixel.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

template <int Channels>
Work clampToColorDepth(int size)
{
    const Format format{.size = size, .type = UInt16, .bits = 12, .channels = Channels};
    const BenchImage image(format, Scene::Camera), theirs(format, Scene::Camera);
    return {
        .ours = [=] { return ClampToColorDepth(image); },
        .peer = {"min",
                 [=] {
                     cv::Mat mat = theirs.mat().reshape(1);
                     cv::min(mat, 4095, mat);
                 }},
        .limit = {.rewritten = image.pixelBytes()},
    };
}

const Rows rows{
    {"ClampToColorDepth", "12-bit", &clampToColorDepth<1>},
    {"ClampToColorDepth", "12-bit RGB", &clampToColorDepth<3>},
};

}  // namespace
}  // namespace ko::bench
