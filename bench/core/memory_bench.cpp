#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/cpp.h>
#include <ko/image.h>
#include <ko/masks.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

Work allocate(int size, bool cleared)
{
    return {
        .ours =
            [=] {
                SxImageBuf image;
                const ResultCode rc =
                    AllocBuffer(image, size, size, 1, UInt8, 0, 8, Interleaved, cleared, CompressionNone);
                FreeBuffer(image);
                return rc;
            },
        .peer = {cleared ? "Mat zeros" : "Mat",
                 [=] {
                     cv::Mat image(size, size, CV_8UC1);
                     if (cleared)
                         image.setTo(0);
                 }},
    };
}

/// An operation into a result that is allocated for it and then released.
Work binarizeIntoNew(int size)
{
    const BenchImage src({.size = size}, Scene::Camera);
    return {
        .ours =
            [=] {
                Image result(size, size, 1, UInt8, 8);
                return Binarize(src, result, 255);
            },
        .peer = {"new Mat + compare NE",
                 [=, in = src.mat()] {
                     cv::Mat result;
                     cv::compare(in, 0, result, cv::CMP_NE);
                 }},
        .limit = {.read = src.pixelBytes(), .written = src.pixelBytes()},
    };
}

Work copyRectangle(int size)
{
    const BenchImage src({.size = size, .type = UInt16}, Scene::Camera);
    const BenchImage dst({.size = size, .type = UInt16});
    const QRect inner(3, 3, size - 6, size - 6);
    const cv::Rect peerInner(3, 3, size - 6, size - 6);
    return {
        .ours = [=] { return CopyBuffer(src, inner, dst, QPoint(1, 1), true); },
        .peer = {"copyTo", [from = src.mat()(peerInner),
                            to = dst.mat()(cv::Rect(1, 1, size - 6, size - 6))] { from.copyTo(to); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

/// Green of an interleaved picture into a mono image.
template <ExImageDataType Type>
Work takeChannel(int size)
{
    const BenchImage src({.size = size, .type = Type, .channels = 3}, Scene::Camera);
    const BenchImage dst({.size = size, .type = Type});
    return {
        .ours = [=] { return CopyChannel(src, 1, dst, 0); },
        .peer = {"extractChannel",
                 [=, from = src.mat(), to = dst.mat()] { cv::extractChannel(from, to, 1); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"AllocBuffer", "U8", [](int size) { return allocate(size, false); }},
    {"AllocBuffer", "U8 cleared", [](int size) { return allocate(size, true); }},
    {"Binarize into a new image", "U8", &binarizeIntoNew, 8192},
    {"CopyBuffer", "U16", &copyRectangle},
    {"CopyChannel RGB to mono", "U8", &takeChannel<UInt8>},
    {"CopyChannel RGB to mono", "U16", &takeChannel<UInt16>},
};

}  // namespace
}  // namespace ko::bench
