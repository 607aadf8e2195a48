#include "cli/parallel_batch.h"

#include "cli/batch.h"
#include "cli/failure.h"
#include "cli/progress_bar.h"

#include <ko/threads.h>

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

namespace ko::tool {
namespace {

Outcome runOne(const Job& job, const std::function<Outcome::Status(const Job&)>& work)
{
    Outcome outcome;
    const auto start = std::chrono::steady_clock::now();
    outcome.status = Outcome::Failed;
    outcome.message = troubleWith(job.input, [&] { outcome.status = work(job); });
    outcome.elapsed = std::chrono::steady_clock::now() - start;
    return outcome;
}

}  // namespace

std::vector<Outcome> runParallel(const std::vector<Job>& jobs, int workers, Verbosity verbosity,
                                 const std::stop_token& stop,
                                 const std::function<Outcome::Status(const Job&)>& work)
{
    const int processors = omp_get_max_threads();
    const int count =
        std::min({workers > 0 ? workers : processors, mostWorkers, static_cast<int>(jobs.size())});
    std::vector<Outcome> outcomes(jobs.size());
    std::atomic<std::size_t> next = 0;
    std::mutex terminal;
    std::size_t finished = 0;
    const ProgressBar bar(jobs.size(), verbosity);
    bar.show(0);
    const auto serve = [&] {
        const int threads = std::max(1, processors / count);
        omp_set_num_threads(threads);  // of this thread's operations
        const CallThreads allowed(threads);
        for (std::size_t i = next++; i < jobs.size() && !stop.stop_requested(); i = next++) {
            outcomes[i] = runOne(jobs[i], work);
            const std::lock_guard lock(terminal);
            bar.wipe();
            if (!outcomes[i].message.empty())
                report(outcomes[i].message);
            else if (verbosity == Verbosity::Verbose)
                tellOf(jobs[i], outcomes[i].status == Outcome::Skipped ? "skipped" : "done",
                       outcomes[i].elapsed);
            bar.show(++finished);
        }
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < count; ++i)
            threads.emplace_back(serve);
    }
    bar.wipe();
    return outcomes;
}

}  // namespace ko::tool
