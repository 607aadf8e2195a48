#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/snake.h>

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace ko::bench {
namespace {

/// 200 points around a bright disc, far enough away for 100 steps.
Work snake(int size)
{
    const BenchImage src({.size = size}, Scene::Camera);
    cv::Mat picture = src.mat();
    const cv::Point centre(size / 2, size / 2);
    cv::circle(picture, centre, size / 5, 250, cv::FILLED);
    QList<_point_<int>> input;
    for (int i = 0; i < 200; ++i) {
        const double angle = 2 * CV_PI * i / 200;
        input.append({static_cast<int>(centre.x + size * 0.45 * std::cos(angle)),
                      static_cast<int>(centre.y + size * 0.45 * std::sin(angle))});
    }
    SxSnakeParams params;
    params.refine = 0;
    params.maxIterations = 99;
    return {
        .ours =
            [=] {
                QList<_point_<int>> output;
                return SnakeImage(src, params, input, output);
            },
        .limit = {.read = src.pixelBytes()},
    };
}

const Rows rows{
    {"SnakeImage 200 points", "U8", &snake, 1024},
};

}  // namespace
}  // namespace ko::bench
