// Makes memory run out, to test what an operation does then. Two kinds of memory, two switches:
//
// - `AllocationFailure` refuses the memory of `AllocBuffer` and of dense two-dimensional histograms. Every
//   test program has it.
// - `NewFailure` (support/failing_new.h) refuses `operator new`, which is where all else comes from. Only
//   programs that link `ko_failing_new` have it:
//       target_link_libraries(ko_<room>_test PRIVATE ko_failing_new)
//
// To reach every failing path, call the operation with 0, 1, 2, ... successes until it succeeds.
#pragma once

#include "core/memory.h"

namespace ko::test {

/// While it lives, `successes` more allocations are granted and all later ones refused.
class AllocationFailure {
public:
    explicit AllocationFailure(int successes) { refuseMemoryAfter(successes); }
    ~AllocationFailure() { refuseMemoryAfter(-1); }
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
};

}  // namespace ko::test
