#include "cli/batch.h"

#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/progress_bar.h"
#include "cli/transfer.h"

#include <ko/threads.h>

#include <omp.h>

#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>

namespace ko::tool {
namespace {

std::string rates(double frames, double megapixels, double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << frames / seconds << " frames/s, " << megapixels / seconds
         << " megapixels/s";
    return text.str();
}

}  // namespace

void summarise(std::size_t inputs, std::size_t done, const Frame& sum, double seconds)
{
    const double megapixels = static_cast<double>(sum.pixels) / 1e6;
    std::cout << done << " of " << inputs << (inputs == 1 ? " frame" : " frames");
    if (done > 0) {
        std::cout << ", " << std::fixed << std::setprecision(3) << megapixels << " megapixels in " << seconds
                  << " s: " << rates(static_cast<double>(done), megapixels, seconds);
        if (sum.spent.count() > 0)
            std::cout << "; without files "
                      << rates(static_cast<double>(done), megapixels, sum.spent.count());
    }
    std::cout << '\n';
}

void tellOf(const Job& job, const std::string& what, std::chrono::duration<double> elapsed)
{
    std::ostringstream text;
    text << job.input << " -> " << job.output << ": " << what << " in " << std::fixed << std::setprecision(3)
         << elapsed.count() << " s\n";
    std::cout << text.str() << std::flush;
}

int runBatch(const std::vector<Job>& jobs, Verbosity verbosity, const std::function<Frame(const Job&)>& work)
{
    const ProgressBar bar(jobs.size(), verbosity);
    std::optional<CountOnSignal> countOnSignal;
    if (jobs.size() > 1 && verbosity != Verbosity::Quiet)
        countOnSignal.emplace(jobs.size(), bar.isVisible());
    const CallThreads allowed(omp_get_max_threads());  // one file at a time
    const auto start = std::chrono::steady_clock::now();
    Frame sum;
    std::size_t tried = 0;
    std::size_t done = 0;
    for (const Job& job : jobs) {
        bar.show(tried++);
        const auto begin = std::chrono::steady_clock::now();
        const std::string trouble = troubleWith(job.input, [&] {
            const Frame frame = work(job);
            sum.pixels += frame.pixels;
            sum.spent += frame.spent;
            ++done;
            if (countOnSignal)
                countOnSignal->set(done);
        });
        bar.wipe();
        if (!trouble.empty())
            report(trouble);
        else if (verbosity == Verbosity::Verbose)
            tellOf(job, "done", std::chrono::steady_clock::now() - begin);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (verbosity != Verbosity::Quiet && (jobs.empty() || jobs.front().output != standardStream))
        summarise(jobs.size(), done, sum, elapsed.count());
    return done == jobs.size() ? ExitOk : ExitFailed;
}

}  // namespace ko::tool
