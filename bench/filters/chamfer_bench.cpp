#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/filters.h>

#include <opencv2/imgproc.hpp>

namespace ko::bench {
namespace {

template <ExChamferMask Mask, int PeerMask>
Work chamfer(int size)
{
    const BenchImage src({.size = size}, Scene::Random);
    const BenchImage dst({.size = size, .type = Float64});
    // Some hundred objects, as after thresholding; the peer measures the distance to zeros.
    cv::Mat objects = src.mat(), inverse;
    cv::threshold(objects, objects, 0, 0, cv::THRESH_TOZERO_INV);
    for (int i = 0; i < 300; ++i)
        objects.at<std::uint8_t>(i * 7919 % size, i * 104729 % size) = 255;
    cv::compare(objects, 0, inverse, cv::CMP_EQ);
    const cv::Mat distance(size, size, CV_32F);
    return {
        .ours = [=] { return ChamferDistance(src, dst, Mask); },
        .peer = {PeerMask == cv::DIST_MASK_3   ? "distanceTransform 3"
                 : PeerMask == cv::DIST_MASK_5 ? "distanceTransform 5"
                                               : "distanceTransform PRECISE",
                 [=] { cv::distanceTransform(inverse, distance, cv::DIST_L2, PeerMask); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"ChamferDistance 3x3", "U8", &chamfer<Chamfer3x3, cv::DIST_MASK_3>},
    {"ChamferDistance 5x5", "U8", &chamfer<Chamfer5x5, cv::DIST_MASK_5>},
    {"ChamferDistance 13x13", "U8", &chamfer<Chamfer13x13, cv::DIST_MASK_PRECISE>},
};

}  // namespace
}  // namespace ko::bench
