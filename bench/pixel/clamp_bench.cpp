#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/pixel.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

Work clampToColorDepth(int size)
{
    const BenchImage image({.size = size, .type = UInt16, .bits = 12}, Scene::Camera);
    const BenchImage theirs({.size = size, .type = UInt16, .bits = 12}, Scene::Camera);
    return {
        .ours = [=] { return ClampToColorDepth(image); },
        .peer = {"min",
                 [=] {
                     cv::Mat mat = theirs.mat();
                     cv::min(mat, 4095, mat);
                 }},
        .limit = {.rewritten = image.pixelBytes()},
    };
}

const Rows rows{{"ClampToColorDepth", "12-bit", &clampToColorDepth}};

}  // namespace
}  // namespace ko::bench
