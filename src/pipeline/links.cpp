#include "pipeline/links.h"

#include "pipeline/item_core.h"

#include <algorithm>

namespace ko {

namespace {

std::mutex graphMutex;

}  // namespace

void PipeGraph::collect(IxPipeItem& item, std::vector<IxPipeItem*>& found)
{
    if (std::find(found.begin(), found.end(), &item) != found.end())
        return;
    for (const auto& link : item.m_core->successors)
        collect(link->to(), found);
    found.push_back(&item);
}

bool PipeGraph::areStopped(const IxPipeItem& from, const IxPipeItem& to)
{
    return from.state_noLock() == IxPipeItem::StateStopped && to.state_noLock() == IxPipeItem::StateStopped;
}

bool PipeGraph::connect(IxPipeItem& from, IxPipeItem& to)
{
    const std::lock_guard lock(graphMutex);
    if (!areStopped(from, to))
        return false;
    PipeLinks& links = from.m_core->successors;
    if (std::any_of(links.begin(), links.end(), [&](const auto& link) { return &link->to() == &to; }))
        return false;
    std::vector<IxPipeItem*> behind;
    collect(to, behind);
    if (std::find(behind.begin(), behind.end(), &from) != behind.end())
        return false;
    const auto link = std::make_shared<PipeLink>(from, to);
    to.m_core->precedessors.reserve(to.m_core->precedessors.size() + 1);
    links.push_back(link);
    to.m_core->precedessors.push_back(link);
    return true;
}

bool PipeGraph::disconnect(IxPipeItem& from, IxPipeItem& to)
{
    const std::lock_guard lock(graphMutex);
    if (!areStopped(from, to))
        return false;
    std::erase_if(to.m_core->precedessors, [&](const auto& link) { return &link->from() == &from; });
    return std::erase_if(from.m_core->successors, [&](const auto& link) { return &link->to() == &to; }) > 0;
}

void PipeGraph::isolate(IxPipeItem& item)
{
    PipeLinks severed;
    {
        const std::lock_guard lock(graphMutex);
        severed.swap(item.m_core->precedessors);
        for (const auto& link : severed)
            std::erase(link->from().m_core->successors, link);
        for (const auto& link : item.m_core->successors)
            std::erase(link->to().m_core->precedessors, link);
        item.m_core->successors.clear();
    }
    for (const auto& link : severed)
        link->cut();
}

PipeLinks PipeGraph::successorsOf(const IxPipeItem& item)
{
    const std::lock_guard lock(graphMutex);
    return item.m_core->successors;
}

bool PipeGraph::isFed(const IxPipeItem& item)
{
    const std::lock_guard lock(graphMutex);
    const PipeLinks& feeders = item.m_core->precedessors;
    return std::any_of(feeders.begin(), feeders.end(),
                       [](const auto& link) { return !link->from().m_core->queue.isClosed(); });
}

std::vector<IxPipeItem*> PipeGraph::inOrder(IxPipeItem& first)
{
    std::vector<IxPipeItem*> items;
    const std::lock_guard lock(graphMutex);
    collect(first, items);
    std::reverse(items.begin(), items.end());
    return items;
}

std::vector<const FrameQueue*> PipeGraph::queuesInOrder(IxPipeItem& first)
{
    std::vector<const FrameQueue*> queues;
    for (const IxPipeItem* item : inOrder(first))
        queues.push_back(&item->m_core->queue);
    return queues;
}

void PipeGraph::announceStart(const std::vector<IxPipeItem*>& items)
{
    for (IxPipeItem* item : items)
        item->onPipeStarted();
}

void PipeGraph::announceStop(const std::vector<IxPipeItem*>& items)
{
    for (IxPipeItem* item : items)
        item->onPipeStopped();
}

}  // namespace ko
