// How items start, stop and end.
#include "pipeline/item_core.h"

#include <QDebug>

namespace ko {

using Lock = std::unique_lock<std::mutex>;

IxPipeItem::Core::Core(IxPipeItem& item, const QString& itemName, ExFlags itemFlags)
    : name(itemName), flags(itemFlags), worker(item)
{
    worker.setObjectName(itemName);
}

bool IxPipeItem::Core::waitForRest(Lock& lock)
{
    const bool isOwnStart = phase == PipePhase::Starting && starter == std::this_thread::get_id();
    if (!PipeWorker::isCurrent() && !isOwnStart)
        phaseChanged.wait(lock, [this] { return isAtRest(); });
    return isAtRest();
}

void IxPipeItem::Core::setPhase(PipePhase next)
{
    phase = next;
    phaseChanged.notify_all();
}

void IxPipeItem::Core::beginStop(const IxPipeItem& item)
{
    setPhase(PipePhase::Stopping);
    queue.close();
    for (const auto& link : PipeGraph::successorsOf(item))
        link->visit([](IxPipeItem& successor) { successor.m_core->queue.wakeProducers(); });
}

void IxPipeItem::Core::waitForEndOfRun(Lock& lock)
{
    phaseChanged.wait(lock, [this, run = runs] { return runs != run; });
}

bool IxPipeItem::Core::startWorker(IxPipeItem& item)
{
    {
        const QMutexLocker settings(&item.m_mutex);
        queue.open(queueCapacity, queuePolicy);
        state = StateStarted;
    }
    // The last worker has left the phase, but maybe not its thread.
    worker.wait();
    worker.start();
    if (worker.isRunning())
        return true;
    const QMutexLocker settings(&item.m_mutex);
    queue.close();
    state = StateStopped;
    return false;
}

bool IxPipeItem::Core::start(IxPipeItem& item)
{
    Lock lock(phaseMutex);
    if (!waitForRest(lock) || phase == PipePhase::Retired)
        return false;
    if (phase == PipePhase::Started)
        return true;
    setPhase(PipePhase::Starting);
    starter = std::this_thread::get_id();
    lock.unlock();
    bool isReady = false;
    try {
        isReady = item.isValid() && item.setupStart();
    } catch (...) {
        // Refused. Threads that wait for the end of this change must be woken.
    }
    lock.lock();
    const bool isRunning = isReady && startWorker(item);
    setPhase(isRunning ? PipePhase::Started : PipePhase::Stopped);
    if (!isRunning)
        qWarning().noquote() << item.name() + ": cannot be started";
    return isRunning;
}

bool IxPipeItem::Core::stop(const IxPipeItem& item)
{
    Lock lock(phaseMutex);
    if (!waitForRest(lock))
        return phase == PipePhase::Stopping;
    if (phase != PipePhase::Started)
        return true;
    beginStop(item);
    if (!PipeWorker::isCurrent())
        waitForEndOfRun(lock);
    return true;
}

void IxPipeItem::Core::retire(const IxPipeItem& item)
{
    Lock lock(phaseMutex);
    while (phase != PipePhase::Stopped && phase != PipePhase::Retired) {
        phaseChanged.wait(lock, [this] { return isAtRest(); });
        if (phase == PipePhase::Started) {
            beginStop(item);
            waitForEndOfRun(lock);
        }
    }
    setPhase(PipePhase::Retired);
    lock.unlock();
    worker.wait();
}

void IxPipeItem::Core::warnUnlessRetired(const IxPipeItem& item)
{
    {
        const Lock lock(phaseMutex);
        if (phase == PipePhase::Retired)
            return;
    }
    qWarning().noquote() << item.name() +
                                ": destroyed without a call of retire in the destructor of its class";
}

bool IxPipeItem::setState(ExState state)
{
    return state == StateStarted ? m_core->start(*this) : m_core->stop(*this);
}

void IxPipeItem::retire()
{
    m_core->retire(*this);
    PipeGraph::isolate(*this);
    m_core->worker.report(std::chrono::milliseconds(0));
}

}  // namespace ko
