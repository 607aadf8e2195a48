// Items of pipes with Python callbacks, and who keeps them.
#pragma once

#include "frames.h"

#include <ko/pipeline.h>

#include <functional>
#include <memory>
#include <vector>

namespace ko::python {

/// Owner of an item in the process that made it. A process that is forked from that one has no workers, so that an
/// item can neither work nor end there.
class OwnItem {
public:
    explicit OwnItem(std::unique_ptr<IxPipeItem> item);
    OwnItem(OwnItem&&) = default;
    OwnItem& operator=(OwnItem&&) = delete;
    ~OwnItem();

    bool isHere() const;
    IxPipeItem& get() const { return *m_item; }
    void end() { m_item.reset(); }

private:
    std::unique_ptr<IxPipeItem> m_item;
    long m_process;
};

/// What Python holds of an item. It keeps the items behind it, which a whole pipe is started and stopped through.
class Node : public std::enable_shared_from_this<Node> {
public:
    explicit Node(std::unique_ptr<IxPipeItem> item);
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    /// Ends the item. Its worker may be waiting for the GIL, which is therefore released; on a worker, where nobody
    /// may wait for another, the end comes later.
    virtual ~Node();

    /// Throws RuntimeError in a process that was forked after the item was made.
    IxPipeItem& item() const;

    bool isHere() const { return m_item.isHere(); }

    template <class Item>
    Item& itemAs() const
    {
        return static_cast<Item&>(item());
    }

    /// Connects, or takes the connection back, and keeps `successor` accordingly.
    bool connect(const std::shared_ptr<Node>& successor);
    bool disconnect(const std::shared_ptr<Node>& successor);

private:
    void forget(const std::shared_ptr<Node>& successor);

    OwnItem m_item;
    std::vector<std::shared_ptr<Node>> m_successors;
};

/// A Python function that C++ may copy and drop on any thread.
using Callable = std::shared_ptr<const py::object>;
Callable callableOf(const py::object& function);

/// Items with callbacks. An exception of Python is reported as unraisable and fails the frame.
std::unique_ptr<IxPipeItem> makeProcessor(const Callable& process);
std::unique_ptr<IxPipeItem> makeSink(const Callable& callback);

/// A source that counts and stamps the images that it sends as `CxFrameSource` does.
class ArraySource : public CxFrameSource {
public:
    ~ArraySource() override { retire(); }

    /// What travels with the next image.
    Frame next(const ArrayImage& image);

private:
    const std::chrono::steady_clock::time_point m_made = std::chrono::steady_clock::now();
    int m_nextFrameNo = 0;
};

/// Ends workers that would call Python when there is none any more.
void stopAll();

}  // namespace ko::python
