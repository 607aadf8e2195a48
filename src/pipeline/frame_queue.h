// The frames that wait for an item's worker, and the count of what became of each.
#pragma once

#include "pipeline/frame_rate.h"
#include "pipeline/idle_wait.h"

#include <ko/pipeline/item.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

namespace ko {

/// One lock guards frames and counts, so that they agree at every moment. Frames are deleted outside of it.
class FrameQueue {
public:
    using Frame = std::unique_ptr<IxData>;

    void open(int capacity, ExQueuePolicy policy);

    /// Drops the waiting frames and refuses all others until it is opened again.
    void close();
    bool isClosed() const noexcept { return m_isClosed.load(std::memory_order_acquire); }

    /// False when the frame was dropped.
    /// @param sender  waiting for room ends when this queue closes; may be null
    bool push(Frame frame, const FrameQueue* sender);

    /// Wakes waiting producers, which then check whether their own queue has been closed.
    void wakeProducers();

    /// Counts a frame that could not be copied for this queue.
    void countLost();

    /// Waits for the next frame; null when the queue is closed. The frame is being worked on until `settle`.
    Frame take();
    void settle(bool isProcessed);

    /// False when no frame is waiting or being worked on. Otherwise the wait goes on once that is so.
    bool callWhenIdle(std::shared_ptr<IdleWait> wait) const;
    void forget(const IdleWait& wait) const;

    SxPipeStatistics statistics() const;
    double framesPerSecond() const;

    struct Losses {
        std::uint64_t dropped = 0;
        std::uint64_t failed = 0;
    };
    /// What has been lost since the last call that returned something. Answers nothing before `interval` has
    /// passed since then.
    Losses takeLosses(std::chrono::milliseconds interval);

private:
    using Lock = std::unique_lock<std::mutex>;

    bool isFull() const { return m_frames.size() >= m_capacity; }
    bool isIdle() const { return m_frames.empty() && !m_isBusy; }

    /// Lets those go on who wait for this queue to be idle, if it is; unlocks.
    void tellIfIdle(Lock& lock);

    /// False, with the frame still the caller's, when memory runs out.
    bool append(Frame& frame) noexcept;

    mutable std::mutex m_mutex;
    std::condition_variable m_hasFrame;
    std::condition_variable m_hasRoom;
    mutable std::shared_ptr<IdleWait> m_idleWaits;
    std::deque<Frame> m_frames;
    std::size_t m_capacity = 1;
    ExQueuePolicy m_policy = QueueBlocks;
    std::atomic<bool> m_isClosed{true};  // changed under the lock
    bool m_isBusy = false;
    SxPipeStatistics m_counts;
    FrameRate m_rate;
    Losses m_reported;
    FrameRate::Time m_reportTime{};
};

}  // namespace ko
