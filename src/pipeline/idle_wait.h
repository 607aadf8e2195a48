// A thread's wait until queues are idle.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace ko {

class FrameQueue;

/// Sleeps until each of several queues has been idle, the first one first. The threads that make them so pass the wait
/// on from one queue to the next, and the last one alone wakes the thread that waits.
class IdleWait : public std::enable_shared_from_this<IdleWait> {
public:
    explicit IdleWait(std::vector<const FrameQueue*> queues) : m_queues(std::move(queues)) {}

    /// False when one of the queues stays busy for so many milliseconds; negative: as long as it takes.
    bool wait(int milliseconds);

    /// The queue that this wait has come to is idle.
    void goOn();

    std::shared_ptr<IdleWait> next;  ///< at the same queue; guarded by its lock

private:
    using Clock = std::chrono::steady_clock;

    bool isOver() const { return m_at == m_queues.size(); }

    /// Goes to the first queue that is busy.
    void advance();

    std::mutex m_mutex;
    std::condition_variable m_isOver;
    const std::vector<const FrameQueue*> m_queues;
    std::size_t m_at = 0;
    Clock::time_point m_arrival;  ///< at that queue
    bool m_isGivenUp = false;
};

}  // namespace ko
