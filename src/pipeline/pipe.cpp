#include <ko/pipeline/pipe.h>

#include "pipeline/item_core.h"

#include <algorithm>

namespace ko {

bool StartPipe(IxPipeItem& first)
{
    std::vector<IxPipeItem*> items = PipeGraph::inOrder(first);
    std::reverse(items.begin(), items.end());
    std::vector<IxPipeItem*> startedHere;
    for (IxPipeItem* item : items) {
        const bool wasStarted = item->isStarted();
        if (!item->setState(IxPipeItem::StateStarted)) {
            std::for_each(startedHere.rbegin(), startedHere.rend(),
                          [](IxPipeItem* started) { started->setState(IxPipeItem::StateStopped); });
            return false;
        }
        if (!wasStarted)
            startedHere.push_back(item);
    }
    PipeGraph::announceStart(items);
    return true;
}

bool DrainPipe(IxPipeItem& first, int milliseconds)
{
    return !PipeWorker::isCurrent() &&
           std::make_shared<IdleWait>(PipeGraph::queuesInOrder(first))->wait(milliseconds);
}

bool StopPipe(IxPipeItem& first)
{
    std::vector<IxPipeItem*> stopped;
    for (IxPipeItem* item : PipeGraph::inOrder(first)) {
        if (item != &first && PipeGraph::isFed(*item))
            continue;
        item->setState(IxPipeItem::StateStopped);
        stopped.push_back(item);
    }
    if (PipeWorker::isCurrent())
        return false;
    PipeGraph::announceStop(stopped);
    return true;
}

}  // namespace ko
