// How fast something goes on.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <utility>

namespace ko::tool {

/// The rate of a number that grows, over the last two seconds. One thread at a time uses it.
class Rate {
public:
    /// The number as it is now. Answers with what is added per second.
    double update(std::uint64_t number);

private:
    using Clock = std::chrono::steady_clock;
    std::deque<std::pair<Clock::time_point, std::uint64_t>> m_past;
};

}  // namespace ko::tool
