#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/masks.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

template <ExImageDataType Type>
Work binarize(int size)
{
    const BenchImage src({.size = size, .type = Type}, Scene::Camera);
    const BenchImage dst({.size = size});
    return {
        .ours = [=] { return Binarize(src, dst, 255); },
        .peer = {"compare NE", [=, in = src.mat(), out = dst.mat()] { cv::compare(in, 0, out, cv::CMP_NE); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"Binarize", "U8", &binarize<UInt8>},
    {"Binarize", "U16", &binarize<UInt16>},
    {"Binarize", "U8", &binarize<UInt8>, tinyImage},
    {"Binarize", "U8", &binarize<UInt8>, smallImage},
    {"Binarize", "U8", &binarize<UInt8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
