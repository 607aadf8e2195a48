// ko_bench [--small] [Google Benchmark's options]
//
// --small runs every row once at a small size to show that it works; its times mean nothing.
#include "support/measure.h"
#include "support/rows.h"

#include <benchmark/benchmark.h>
#include <omp.h>

#include <opencv2/core/version.hpp>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace ko::bench {
namespace {

constexpr int smallSize = 64;

bool anyFailed = false;

void report(benchmark::State& state, const Work& work, const Result& result)
{
    state.SetLabel(work.peer.name);
    state.counters["ours_ms"] = result.ours;
    if (result.peer > 0) {
        state.counters["peer_ms"] = result.peer;
        state.counters["vs_peer"] = result.peer / result.ours;
    }
    if (result.limit > 0) {
        state.counters["limit_ms"] = result.limit;
        state.counters["vs_limit"] = result.ours / result.limit;
    }
}

void runRow(benchmark::State& state, const Row& row, int threads, const Effort& effort)
{
    // Work buffers have a part for each thread that there is when they are made.
    omp_set_num_threads(threads);
    const Work work = row.make(row.size);
    for (auto _ : state) {
        const Result result = measure(work, threads, effort);
        if (result.failed) {
            anyFailed = true;
            state.SkipWithError("the operation refused its arguments");
            return;
        }
        state.SetIterationTime(result.ours * 1e-3);
        report(state, work, result);
    }
}

void enter(Row row, const Effort& effort)
{
    for (const int threads : {1, 2})
        benchmark::RegisterBenchmark(row.name(threads).c_str(),
                                     [=](benchmark::State& state) { runRow(state, row, threads, effort); })
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
}

/// Takes --small out of the arguments.
bool wantsSmall(int& argc, char** argv)
{
    char** const end = std::remove(argv + 1, argv + argc, std::string_view("--small"));
    const bool found = end != argv + argc;
    argc = static_cast<int>(end - argv);
    argv[argc] = nullptr;
    return found;
}

int run(int argc, char** argv)
{
    const bool small = wantsSmall(argc, argv);
    for (Row row : Rows::all()) {
        if (small)
            row.size = smallSize;
        enter(row, small ? oneRound : Effort{});
    }
    benchmark::AddCustomContext("compiler", KO_BENCH_COMPILER);
    benchmark::AddCustomContext("flags", KO_BENCH_FLAGS);
    benchmark::AddCustomContext("opencv", CV_VERSION);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return anyFailed ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace
}  // namespace ko::bench

int main(int argc, char** argv)
{
    return ko::bench::run(argc, argv);
}
