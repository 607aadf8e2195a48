// What an item keeps out of its public header.
#pragma once

#include "pipeline/frame_queue.h"
#include "pipeline/links.h"

#include <QThread>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace ko {

/// Takes frames from an item's queue, has them processed and hands the results on.
class PipeWorker : public QThread {
public:
    explicit PipeWorker(IxPipeItem& item) : m_item(item) {}

    /// The calling thread is the worker of some item.
    static bool isCurrent() noexcept;

    /// Warns of frames lost, unless that was done less than `interval` ago.
    void report(std::chrono::milliseconds interval);

protected:
    void run() override;

private:
    void work(FrameQueue::Frame frame);
    bool process(FrameQueue::Frame frame, FrameQueue::Frame& output);
    void handOn(FrameQueue::Frame frame);

    IxPipeItem& m_item;
    PipeLinks m_successors;
};

/// Moments in the life of a worker. `Retired` is for good.
enum class PipePhase { Stopped, Starting, Started, Stopping, Retired };

struct IxPipeItem::Core {
    Core(IxPipeItem& item, const QString& itemName, ExFlags itemFlags);

    bool start(IxPipeItem& item);
    bool stop(const IxPipeItem& item);
    void retire(const IxPipeItem& item);

    /// For destructors of classes that others implement. Warns where the implementation has not retired the
    /// item: its worker may have called what was destroyed already.
    void warnUnlessRetired(const IxPipeItem& item);

    // The following need `phaseMutex`.
    bool isAtRest() const { return phase != PipePhase::Starting && phase != PipePhase::Stopping; }

    /// Waits for the end of a change. False on a worker, and on the thread that makes the change itself.
    bool waitForRest(std::unique_lock<std::mutex>& lock);
    void setPhase(PipePhase next);

    /// No more frames, and no waiting for room behind.
    void beginStop(const IxPipeItem& item);
    void waitForEndOfRun(std::unique_lock<std::mutex>& lock);
    bool startWorker(IxPipeItem& item);

    // Guarded by the item's m_mutex, except that `state` may be read without.
    QString name;
    ExFlags flags;
    int queueCapacity = 8;
    ExQueuePolicy queuePolicy = QueueBlocks;
    std::atomic<ExState> state{StateStopped};

    std::mutex phaseMutex;
    std::condition_variable phaseChanged;
    PipePhase phase = PipePhase::Stopped;
    std::uint64_t runs = 0;   ///< workers that have ended
    std::thread::id starter;  ///< in phase `Starting`

    std::mutex infoMutex;
    std::unique_ptr<IxDataInfo> inputInfo;
    std::unique_ptr<IxDataInfo> outputInfo;

    FrameQueue queue;
    PipeLinks successors;  ///< guarded by the graph's lock, as are the precedessors
    PipeLinks precedessors;
    PipeWorker worker;
};

}  // namespace ko
