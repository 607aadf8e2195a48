#include "pipeline/idle_wait.h"

#include "pipeline/frame_queue.h"

namespace ko {

bool IdleWait::wait(int milliseconds)
{
    std::unique_lock lock(m_mutex);
    advance();
    if (milliseconds < 0)
        m_isOver.wait(lock, [this] { return isOver(); });
    while (!isOver()) {
        const Clock::time_point end = m_arrival + std::chrono::milliseconds(milliseconds);
        if (Clock::now() >= end) {
            m_isGivenUp = true;
            m_queues[m_at]->forget(*this);
            return false;
        }
        m_isOver.wait_until(lock, end);
    }
    return true;
}

void IdleWait::goOn()
{
    std::unique_lock lock(m_mutex);
    if (m_isGivenUp)
        return;
    ++m_at;
    advance();
    const bool isEnd = isOver();
    lock.unlock();
    if (isEnd)
        m_isOver.notify_one();
}

void IdleWait::advance()
{
    while (!isOver() && !m_queues[m_at]->callWhenIdle(shared_from_this()))
        ++m_at;
    m_arrival = Clock::now();
}

}  // namespace ko
