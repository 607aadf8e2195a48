// Small frames while other programs keep the processors busy: a loop that is shared there waits for threads
// that have no processor.
#include "support/bench_image.h"
#include "support/busy_processors.h"
#include "support/rows.h"

#include <ko/filters.h>
#include <ko/median.h>

#include <omp.h>

#include <memory>

namespace ko::bench {
namespace {

/// `operation` with as many threads as the row has, against one thread. Waiting is rare and long, so that a timed
/// call must be of many frames to have its share of it.
template <class Operation>
Work besideBusyProcessors(const Operation& operation)
{
    constexpr int frames = 1000;
    const auto others = std::make_shared<BusyProcessors>();
    const auto run = [=, keepBusy = others] {
        static_cast<void>(keepBusy);
        ResultCode rc = ResultOk;
        for (int i = 0; i < frames && rc == ResultOk; ++i)
            rc = operation();
        return rc;
    };
    return {
        .ours = run,
        .peer = {"ours, one thread",
                 [=] {
                     const int threads = omp_get_max_threads();
                     omp_set_num_threads(1);
                     static_cast<void>(run());
                     omp_set_num_threads(threads);
                 }},
    };
}

template <int Radius>
Work median(int size)
{
    const BenchImage src({.size = size, .height = size * 2 / 3}, Scene::Camera);
    const BenchImage dst({.size = size, .height = size * 2 / 3});
    return besideBusyProcessors([=] { return Median(src, dst, Radius, nullptr); });
}

Work sobel(int size)
{
    const BenchImage src({.size = size, .height = size * 2 / 3}, Scene::Camera);
    const BenchImage dst({.size = size, .height = size * 2 / 3, .type = Int32});
    return besideBusyProcessors([=] { return Sobel(src, dst); });
}

const Rows rows{
    {"Median r=1, 1000 frames, busy processors", "U8", &median<1>, 192},
    {"Sobel, 1000 frames, busy processors", "U8", &sobel, 192},
};

}  // namespace
}  // namespace ko::bench
