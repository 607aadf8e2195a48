#include "core/spare_blocks.h"
#include "pipeline/item_core.h"

#include <QDebug>

#include <exception>

namespace ko {

using Frame = FrameQueue::Frame;
using std::chrono::milliseconds;

namespace {

thread_local bool isWorker = false;

constexpr milliseconds reportInterval{1000};

Frame copyOf(const IxData& frame) noexcept
{
    try {
        return Frame(frame.clone());
    } catch (...) {
        return nullptr;
    }
}

void remember(IxData& frame, std::mutex& mutex, std::unique_ptr<IxDataInfo>& place) noexcept
{
    try {
        std::unique_ptr<IxDataInfo> info(frame.dataInfo());
        const std::lock_guard lock(mutex);
        place.swap(info);
    } catch (...) {
        // The format of the previous frame stays known.
    }
}

}  // namespace

bool PipeWorker::isCurrent() noexcept
{
    return isWorker;
}

void PipeWorker::run()
{
    isWorker = true;
    const UsesSpareBlocks spareBlocks;
    IxPipeItem::Core& core = *m_item.m_core;
    m_successors = PipeGraph::successorsOf(m_item);
    while (Frame frame = core.queue.take())
        work(std::move(frame));
    m_item.setupStop();
    m_successors.clear();
    report(milliseconds(0));
    {
        const QMutexLocker lock(&m_item.m_mutex);
        core.state = IxPipeItem::StateStopped;
    }
    const std::lock_guard lock(core.phaseMutex);
    ++core.runs;
    core.setPhase(PipePhase::Stopped);
}

void PipeWorker::work(Frame frame)
{
    Frame output;
    const bool isProcessed = process(std::move(frame), output);
    if (output && !m_successors.empty())
        handOn(std::move(output));
    m_item.m_core->queue.settle(isProcessed);
    report(reportInterval);
}

bool PipeWorker::process(Frame frame, Frame& output)
{
    IxPipeItem::Core& core = *m_item.m_core;
    remember(*frame, core.infoMutex, core.inputInfo);
    try {
        IxData* made = nullptr;
        if (!m_item.processData(frame.get(), made))
            return false;
        static_cast<void>(frame.release());
        output.reset(made);
    } catch (const std::exception& error) {
        qWarning().noquote() << m_item.name() + ": frame failed:" << error.what();
        return false;
    } catch (...) {
        qWarning().noquote() << m_item.name() + ": frame failed: unknown exception";
        return false;
    }
    if (output)
        remember(*output, core.infoMutex, core.outputInfo);
    return true;
}

void PipeWorker::handOn(Frame frame)
{
    const auto bring = [this](PipeLink& link, Frame own) {
        link.visit([&](IxPipeItem& successor) {
            if (own)
                successor.onDataAvailable(own.release(), &m_item);
            else
                successor.m_core->queue.countLost();
        });
    };
    for (std::size_t i = 0; i + 1 < m_successors.size(); ++i)
        bring(*m_successors[i], copyOf(*frame));
    bring(*m_successors.back(), std::move(frame));
}

void PipeWorker::report(milliseconds interval)
{
    const FrameQueue::Losses losses = m_item.m_core->queue.takeLosses(interval);
    if (losses.dropped + losses.failed > 0)
        qWarning().noquote() << QStringLiteral("%1: %2 frames dropped, %3 failed")
                                    .arg(m_item.name())
                                    .arg(losses.dropped)
                                    .arg(losses.failed);
}

}  // namespace ko
