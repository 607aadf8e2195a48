// Has the smallest loops shared among threads too, as tests of threads need it.
#pragma once

#include "base/rows.h"

namespace ko::test {

/// While it lives, no loop is too small for a team.
class EveryLoopShared {
public:
    EveryLoopShared() = default;
    ~EveryLoopShared() { leastSharedWork = m_before; }
    EveryLoopShared(const EveryLoopShared&) = delete;
    EveryLoopShared& operator=(const EveryLoopShared&) = delete;

private:
    std::int64_t m_before = leastSharedWork.exchange(0);
};

}  // namespace ko::test
