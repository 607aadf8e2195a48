// Other programs that keep the processors busy.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace ko::bench {

/// While it lives, two threads compute without a pause.
class BusyProcessors {
public:
    BusyProcessors()
    {
        for (int i = 0; i < 2; ++i)
            m_threads.emplace_back([this] {
                while (!m_isOver.load(std::memory_order_relaxed)) {
                }
            });
    }
    ~BusyProcessors() { m_isOver = true; }
    BusyProcessors(const BusyProcessors&) = delete;
    BusyProcessors& operator=(const BusyProcessors&) = delete;

private:
    std::atomic<bool> m_isOver{false};
    std::vector<std::jthread> m_threads;  // joined first
};

}  // namespace ko::bench
