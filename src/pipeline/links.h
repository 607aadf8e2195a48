// Connections between the items of pipes.
#pragma once

#include <ko/pipeline/item.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace ko {

class FrameQueue;

/// One connection. Cut when one of its ends is destroyed, it no longer leads anywhere.
class PipeLink {
public:
    PipeLink(IxPipeItem& from, IxPipeItem& to) : m_from(from), m_to(to) {}

    IxPipeItem& from() const { return m_from; }
    IxPipeItem& to() const { return m_to; }

    /// Calls `use` on the item at the end, which is not destroyed meanwhile. False for a cut connection.
    template <class Use>
    bool visit(Use&& use)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_isCut)
                return false;
            ++m_visitors;
        }
        use(m_to);
        const std::lock_guard lock(m_mutex);
        if (--m_visitors == 0 && m_isCut)
            m_isDeserted.notify_all();
        return true;
    }

    /// Waits until no thread uses the item any more.
    void cut()
    {
        std::unique_lock lock(m_mutex);
        m_isCut = true;
        m_isDeserted.wait(lock, [&] { return m_visitors == 0; });
    }

private:
    IxPipeItem& m_from;
    IxPipeItem& m_to;
    std::mutex m_mutex;
    std::condition_variable m_isDeserted;
    int m_visitors = 0;
    bool m_isCut = false;
};

using PipeLinks = std::vector<std::shared_ptr<PipeLink>>;

/// All changes and walks of connections, one at a time for the whole process: they are rare and short.
class PipeGraph {
public:
    /// False as `IxPipeItem::addSuccessor` says.
    static bool connect(IxPipeItem& from, IxPipeItem& to);
    static bool disconnect(IxPipeItem& from, IxPipeItem& to);

    /// Disconnects an item and waits until no other item is handing it a frame.
    static void isolate(IxPipeItem& item);

    static PipeLinks successorsOf(const IxPipeItem& item);

    /// A started item feeds this one.
    static bool isFed(const IxPipeItem& item);

    /// The item and everything behind it; each after all those of them that feed it.
    static std::vector<IxPipeItem*> inOrder(IxPipeItem& first);
    static std::vector<const FrameQueue*> queuesInOrder(IxPipeItem& first);

    static void announceStart(const std::vector<IxPipeItem*>& items);
    static void announceStop(const std::vector<IxPipeItem*>& items);

private:
    static bool areStopped(const IxPipeItem& from, const IxPipeItem& to);

    /// Appends the items reachable from `item`, each behind its own successors.
    static void collect(IxPipeItem& item, std::vector<IxPipeItem*>& found);
};

}  // namespace ko
