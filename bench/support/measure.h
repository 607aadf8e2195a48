// Times a row's contenders against each other.
#pragma once

#include "support/rows.h"

namespace ko::bench {

/// Median milliseconds per call; 0 where there is no such contender.
struct Result {
    double ours = 0;
    double peer = 0;
    double limit = 0;
    bool failed = false;  ///< the operation refused its arguments
};

/// How long to look.
struct Effort {
    int minRounds = 16;
    int maxRounds = 60;
    double seconds = 1;         ///< per row; rounds beyond the minimum stop here
    double turnSeconds = 1e-3;  ///< timed calls of one contender before the next one's turn
};

inline constexpr Effort oneRound{.minRounds = 1, .maxRounds = 1, .seconds = 0, .turnSeconds = 0};

/// Ours, peer and limit take turns, so that a slow spell of the machine hits all of them alike. One thread is
/// timed by its CPU time, several by the clock.
Result measure(const Work& work, int threads, const Effort& effort);

}  // namespace ko::bench
