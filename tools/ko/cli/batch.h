// A series of files, one after the other.
#pragma once

#include "cli/jobs.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ko::tool {

struct Sensor;

/// One file on its way: what became of it, for the summary.
struct Frame {
    std::int64_t pixels = 0;                ///< of the result
    std::chrono::duration<double> spent{};  ///< in the library alone, without the files
    const Sensor* sensor = nullptr;         ///< of the samples of a camera raw; null for all else
};

/// Runs `work` on every job. A failure is one line on the standard error and does not keep the others from
/// their turn. Shows a progress bar when the standard error is a terminal, ends with a summary on the
/// standard output, unless a result goes there, as far as `verbosity` lets it, and answers with the exit code.
int runBatch(const std::vector<Job>& jobs, Verbosity verbosity, const std::function<Frame(const Job&)>& work);

/// The line of a file that is done.
void tellOf(const Job& job, const std::string& what, std::chrono::duration<double> elapsed);

/// The summary of `done` out of `inputs` frames, in so many seconds from the first file to the last.
void summarise(std::size_t inputs, std::size_t done, const Frame& sum, double seconds);

/// Runs `operation` and adds the time it took.
template <class Operation>
void timed(Frame& frame, Operation&& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    frame.spent += std::chrono::steady_clock::now() - start;
}

}  // namespace ko::tool
