// A series of files, several at a time.
#pragma once

#include "cli/jobs.h"

#include <chrono>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace ko::tool {

/// What became of one file.
struct Outcome {
    enum Status { Done, Skipped, Failed, Interrupted };

    Status status = Interrupted;  ///< until its turn comes
    std::string message;          ///< what went wrong; empty where nothing did
    std::chrono::duration<double> elapsed{};
};

constexpr int mostWorkers = 64;

/// Runs `work` on every job, on as many threads as `workers` says, which share the processors for the threads
/// of the operations; 0 takes one for each processor. A failure is one line on the standard error and does
/// not keep the others from their turn. Shows a progress bar when the standard error is a terminal, as far as
/// `verbosity` lets it. Once a stop is requested, no other file is begun.
std::vector<Outcome> runParallel(const std::vector<Job>& jobs, int workers, Verbosity verbosity,
                                 const std::stop_token& stop,
                                 const std::function<Outcome::Status(const Job&)>& work);

}  // namespace ko::tool
