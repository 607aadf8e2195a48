// What all items of a pipe have in common: a name, a state, a queue, a worker thread and connections.
#pragma once

#include <ko/export.h>
#include <ko/pipeline/data.h>

#include <QFlags>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>
#include <QVariantMap>

#include <cstdint>
#include <memory>

class QWidget;

namespace ko {

/// What an item does with a frame that arrives when its queue is full.
enum ExQueuePolicy : std::int32_t {
    QueueBlocks = 0,       ///< the sender waits until there is room
    QueueDropsOldest = 1,  ///< the frame that has waited longest is deleted and counted as dropped
};

/// What became of the frames offered to an item since it was made. At all times received = processed +
/// failed + dropped + waiting + the one being processed, if any, + those whose senders wait for room.
struct SxPipeStatistics {
    std::uint64_t received = 0;   ///< passed to `onDataAvailable`
    std::uint64_t processed = 0;  ///< `processData` returned true
    std::uint64_t failed = 0;     ///< `processData` returned false or threw
    std::uint64_t dropped = 0;    ///< never processed: queue full, item not started, or no memory for a copy
    std::uint64_t waiting = 0;    ///< in the queue now
};

/// An item of a pipe.
///
/// **Threads.** Every operation may be called from any thread, workers of the same pipe included, unless it
/// says otherwise. A worker thread never waits for a worker: it can only request a stop, and a change of
/// state that would have to wait is refused. `processData`, `setupStop` and what they call run on the item's
/// own worker.
///
/// **Settings** (name, queue, connections, those of derived classes) change only while the item is stopped.
/// Derived classes guard theirs by `m_mutex` and refuse changes while `state_noLock()` is `StateStarted`; the
/// worker then reads them without locking. None of the operations here is to be called with `m_mutex` held,
/// except `state_noLock`.
///
/// **Drops and failures** are counted and reported as warnings, at most once a second per item and when its
/// worker ends.
///
/// **Destruction** ends the worker, deletes the waiting frames and takes the item out of its pipe, whatever
/// its state. A class that overrides virtual operations calls `retire` first in its destructor; where nobody
/// has, a warning says so. An item is destroyed neither on a worker of its pipe nor while another thread
/// starts, drains or stops that pipe.
class KO_EXPORT IxPipeItem : public QObject {
    Q_OBJECT

public:
    /// Whether an item takes frames.
    enum ExState {
        StateStopped = 0,  ///< frames are dropped
        StateStarted = 1,  ///< frames are queued and processed
    };

    /// What an item cannot be connected with.
    enum ExFlag {
        FlagNoInput = 1,   ///< accepts no predecessors: it produces frames
        FlagNoOutput = 2,  ///< accepts no successors: it consumes frames
    };
    /// Any of the flags together.
    Q_DECLARE_FLAGS(ExFlags, ExFlag)

    ~IxPipeItem() override;

    /// Unique within the process until `setName` changes it.
    QString name() const;

    /// The worker. Its object name is the item's name, and so is its name in debuggers.
    QThread* myThread() const;

    /// The state, for callers that hold `m_mutex`. A started item stays so until its worker has ended.
    ExState state_noLock() const;

    ExFlags flags() const;              ///< as made, and what `addFlags` has added
    int queueCapacity() const;          ///< frames that may wait
    ExQueuePolicy queuePolicy() const;  ///< what happens to the next one

    /// Sets how many frames may wait and what happens to the next one; 8 and `QueueBlocks` at first. False,
    /// with nothing changed, while started, for a capacity below 1 and an unknown policy.
    bool setQueue(int capacity, ExQueuePolicy policy);

    /// What became of the frames so far.
    SxPipeStatistics statistics() const;

    /// Waits until no frame is waiting or being processed. False on a timeout (a negative number of
    /// milliseconds means none), and at once on a worker.
    bool waitUntilIdle(int milliseconds) const;

    /// Name for people; the item's name unless overridden.
    virtual QString title() const;

    /// Names the item and its worker. False while started.
    virtual bool setName(const QString& name);

    /// Describes the frames that this item makes of frames of the given format.
    /// @param output          receives a new object that the caller owns
    /// @param inputMetadata, outputMetadata  may be null
    /// False, with `output` not written, for a format that the item does not take.
    virtual bool queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output,
                                     const CxMetadata* inputMetadata, CxMetadata* outputMetadata) = 0;

    /// Format of the last frame made, owned by the caller; null before there was one.
    virtual IxDataInfo* currentOutputDataInfo() const = 0;

    /// Format of the last frame worked on, owned by the caller; null before there was one.
    virtual IxDataInfo* currentInputDataInfo() const = 0;

    /// Frames processed per second, over the last 256 frames that are not older than two seconds; 0 where
    /// fewer than two are.
    virtual double calcFps() const;

    virtual bool isStarted() const;  ///< its state is `StateStarted`
    virtual bool isStopped() const;  ///< its state is `StateStopped`

    /// Whether the item could be started; true unless overridden.
    virtual bool isValid() const;

    /// Takes over name, queue capacity and queue policy as far as the map has them. False, with nothing
    /// changed, while started and when a value is not acceptable.
    virtual bool loadSettings(const QVariantMap& settings);

    /// What `loadSettings` takes.
    virtual QVariantMap saveSettings() const;

    /// A widget to change the settings with; none unless overridden. Items know no widget library.
    virtual bool hasConfigurationWidget() const;

    /// That widget, null where there is none.
    virtual QWidget* configurationWidget(QWidget* parent);

    /// Starts or stops this item alone (`StartPipe` and `StopPipe` do it to a whole pipe in the right order)
    /// and waits until that is done. Stopping finishes the frame being worked on, no longer waits for room in
    /// successors' queues, and drops the waiting frames.
    /// @returns whether that was done: an item that is not valid, refuses in `setupStart` or is about to be
    ///          destroyed does not start. On a worker a stop is true when it has been asked for, and what
    ///          would have to wait is false.
    virtual bool setState(ExState state);

    /// Adds to what the item may be connected with; existing connections stay.
    virtual void addFlags(ExFlags flags);

    /// Connects this item's output with the successor's queue, once both sides accept each other. False while
    /// either is started, for null, for an item that is connected already and where a cycle would arise.
    /// With several successors each gets a frame of its own: the last connected one the original, the others
    /// copies.
    virtual bool addSuccessor(IxPipeItem* successor);

    /// False while either is started, and where there is no such connection.
    virtual bool removeSuccessor(IxPipeItem* successor);

    /// The same connection, made from its other end: `precedessor->addSuccessor(this)`.
    virtual bool addPrecedessor(IxPipeItem* precedessor);

    /// The same as `precedessor->removeSuccessor(this)`; false for null.
    virtual bool removePrecedessor(IxPipeItem* precedessor);

    /// This item's side of the acceptance: may `successor` follow it?
    virtual bool acceptAsSuccessor(IxPipeItem* successor) = 0;

    /// And of its input: may `precedessor` come before it?
    virtual bool acceptAsPrecedessor(IxPipeItem* precedessor) = 0;

protected:
    /// A stopped item with a name of its own, connected with nothing.
    explicit IxPipeItem(ExFlags flags, QObject* parent);

    /// Before the worker starts, on the thread that starts it. False or an exception keeps the item stopped.
    virtual bool setupStart();

    /// After the last frame, on the worker, with the item still started.
    virtual void setupStop();

    /// Works on one frame, on the worker.
    /// @param output  the frame for the successors, null at first; may be the input itself, or stay null
    /// @returns true: the input has been deleted or handed on as output;
    ///          false (or an exception): the input stays with the caller, who deletes it
    virtual bool processData(IxData* input, IxData*& output) = 0;

public:
    /// Whether frames of this format may be sent; asks `queryOutputDataInfo` unless overridden.
    virtual bool acceptsData(const IxDataInfo* info);

    /// Takes over a frame and puts it into the queue, as `queuePolicy` says. False when the frame was dropped
    /// (counted and deleted), because the item is not started or stops, or the sender stops, while waiting.
    /// @param sender  the item on whose worker this is called, null elsewhere
    virtual bool onDataAvailable(IxData* data, const IxPipeItem* sender);

protected:
    virtual void onPipeStarted();  ///< called by `StartPipe` when all items have started
    virtual void onPipeStopped();  ///< called by `StopPipe` when all items have stopped

    /// Ends the worker and the connections for good; see Destruction.
    void retire();

    mutable QMutex m_mutex;  ///< guards the settings

private:
    friend class PipeWorker;
    friend class PipeGraph;
    friend class IxDataProcessor;

    struct Core;
    const std::unique_ptr<Core> m_core;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(IxPipeItem::ExFlags)

}  // namespace ko
