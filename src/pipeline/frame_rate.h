// Frames per second over a sliding window.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace ko {

class FrameRate {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr std::size_t capacity = 256;
    static constexpr std::chrono::seconds span{2};

    void add(Time time) noexcept
    {
        m_times[m_added % capacity] = time;
        ++m_added;
    }

    /// Over the last `capacity` frames that are not older than `span`; 0 for fewer than two.
    double at(Time now) const noexcept
    {
        const std::size_t kept = std::min(m_added, capacity);
        std::size_t count = 0;
        while (count < kept && now - last(count) <= span)
            ++count;
        if (count < 2 || last(0) == last(count - 1))
            return 0;
        return static_cast<double>(count - 1) /
               std::chrono::duration<double>(last(0) - last(count - 1)).count();
    }

private:
    /// The time `back` frames before the last one.
    Time last(std::size_t back) const noexcept { return m_times[(m_added - 1 - back) % capacity]; }

    std::array<Time, capacity> m_times{};
    std::size_t m_added = 0;
};

}  // namespace ko
