#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/masks.h>

#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

constexpr int margin = 16;

template <ExImageDataType Type, int Channels = 1>
Work mirroredBorder(int size)
{
    const BenchImage src({.size = size, .type = Type, .channels = Channels}, Scene::Camera);
    const BenchImage dst({.size = size + 2 * margin, .type = Type, .channels = Channels});
    return {
        .ours = [=] { return CreateImageWithMirroredBorder(src, dst, margin, margin, margin, margin); },
        .peer = {"copyMakeBorder REFLECT",
                 [=, in = src.mat(), out = dst.mat()] {
                     cv::copyMakeBorder(in, out, margin, margin, margin, margin, cv::BORDER_REFLECT);
                 }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"CreateImageWithMirroredBorder 16", "U8", &mirroredBorder<UInt8>},
    {"CreateImageWithMirroredBorder 16", "U16", &mirroredBorder<UInt16>},
    {"CreateImageWithMirroredBorder 16", "U8 RGB", &mirroredBorder<UInt8, 3>},
};

}  // namespace
}  // namespace ko::bench
