#include "pipeline/frame_queue.h"

#include <new>
#include <utility>

namespace ko {

using Clock = std::chrono::steady_clock;

void FrameQueue::open(int capacity, ExQueuePolicy policy)
{
    const Lock lock(m_mutex);
    m_capacity = static_cast<std::size_t>(capacity);
    m_policy = policy;
    m_isClosed.store(false, std::memory_order_release);
}

void FrameQueue::close()
{
    std::deque<Frame> unwanted;
    Lock lock(m_mutex);
    m_isClosed.store(true, std::memory_order_release);
    unwanted.swap(m_frames);
    m_counts.dropped += unwanted.size();
    m_hasFrame.notify_all();
    m_hasRoom.notify_all();
    tellIfIdle(lock);
}

bool FrameQueue::push(Frame frame, const FrameQueue* sender)
{
    Frame unwanted;
    Lock lock(m_mutex);
    ++m_counts.received;
    if (m_policy == QueueBlocks)
        m_hasRoom.wait(lock,
                       [&] { return isClosed() || !isFull() || (sender != nullptr && sender->isClosed()); });
    if (isClosed() || (isFull() && m_policy == QueueBlocks) || !append(frame)) {
        ++m_counts.dropped;
        return false;
    }
    if (m_frames.size() > m_capacity) {
        unwanted = std::move(m_frames.front());
        m_frames.pop_front();
        ++m_counts.dropped;
    }
    lock.unlock();
    m_hasFrame.notify_one();
    return true;
}

bool FrameQueue::append(Frame& frame) noexcept
{
    try {
        m_frames.push_back(std::move(frame));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void FrameQueue::wakeProducers()
{
    const Lock lock(m_mutex);
    m_hasRoom.notify_all();
}

void FrameQueue::countLost()
{
    const Lock lock(m_mutex);
    ++m_counts.received;
    ++m_counts.dropped;
}

FrameQueue::Frame FrameQueue::take()
{
    Lock lock(m_mutex);
    m_hasFrame.wait(lock, [&] { return isClosed() || !m_frames.empty(); });
    if (isClosed())
        return nullptr;
    Frame frame = std::move(m_frames.front());
    m_frames.pop_front();
    m_isBusy = true;
    lock.unlock();
    m_hasRoom.notify_one();
    return frame;
}

void FrameQueue::settle(bool isProcessed)
{
    Lock lock(m_mutex);
    m_isBusy = false;
    if (isProcessed) {
        ++m_counts.processed;
        m_rate.add(Clock::now());
    } else {
        ++m_counts.failed;
    }
    tellIfIdle(lock);
}

void FrameQueue::tellIfIdle(Lock& lock)
{
    std::shared_ptr<IdleWait> waits;
    if (isIdle())
        waits.swap(m_idleWaits);
    // Threads woken under the lock would wait for it next.
    lock.unlock();
    while (waits) {
        const std::shared_ptr<IdleWait> wait = std::move(waits);
        waits = std::move(wait->next);
        wait->goOn();
    }
}

bool FrameQueue::callWhenIdle(std::shared_ptr<IdleWait> wait) const
{
    const Lock lock(m_mutex);
    if (isIdle())
        return false;
    wait->next = std::move(m_idleWaits);
    m_idleWaits = std::move(wait);
    return true;
}

void FrameQueue::forget(const IdleWait& wait) const
{
    const Lock lock(m_mutex);
    std::shared_ptr<IdleWait>* place = &m_idleWaits;
    while (*place && place->get() != &wait)
        place = &(*place)->next;
    if (*place)
        *place = std::move((*place)->next);
}

SxPipeStatistics FrameQueue::statistics() const
{
    const Lock lock(m_mutex);
    SxPipeStatistics counts = m_counts;
    counts.waiting = m_frames.size();
    return counts;
}

double FrameQueue::framesPerSecond() const
{
    const Lock lock(m_mutex);
    return m_rate.at(Clock::now());
}

FrameQueue::Losses FrameQueue::takeLosses(std::chrono::milliseconds interval)
{
    const Lock lock(m_mutex);
    const Losses losses{m_counts.dropped - m_reported.dropped, m_counts.failed - m_reported.failed};
    if (losses.dropped + losses.failed == 0)
        return {};
    const FrameRate::Time now = Clock::now();
    if (m_reportTime != FrameRate::Time{} && now - m_reportTime < interval)
        return {};
    m_reported = {m_counts.dropped, m_counts.failed};
    m_reportTime = now;
    return losses;
}

}  // namespace ko
