// Runs a test body once per kernel build that this processor can execute, and with several thread counts.
#pragma once

#include "support/every_loop_shared.h"

#include <ko/threads.h>

#include <hwy/targets.h>
#include <omp.h>

#include <gtest/gtest.h>

namespace ko::test {

/// On one thread: the bodies make thousands of small calls, which would spend their time waiting for a team.
template <class Body>
void forEachTarget(Body&& body)
{
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    for (std::int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1) {
        const std::int64_t target = rest & -rest;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        body();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    omp_set_num_threads(threads);
}

/// For operations that run in parallel and for those that do so where the program allows it.
template <class Body>
void forEachThreadCount(Body&& body)
{
    const EveryLoopShared everyLoopShared;
    const int before = omp_get_max_threads();
    for (const int threads : {1, 2, 7}) {
        SCOPED_TRACE(threads);
        omp_set_num_threads(threads);
        const CallThreads allowed(threads);
        body();
    }
    omp_set_num_threads(before);
}

}  // namespace ko::test
