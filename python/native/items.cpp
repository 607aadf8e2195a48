#include "items.h"

#include "binding.h"

#include <unistd.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

namespace ko::python {

namespace {

/// Guarded by the GIL, as is the list of items whose end was asked for on a worker.
std::set<Node*>& nodes()
{
    static auto* const all = new std::set<Node*>;  // it outlives the interpreter
    return *all;
}

std::vector<OwnItem>& unwanted()
{
    static auto* const items = new std::vector<OwnItem>;
    return *items;
}

thread_local bool isWorker = false;

/// Holds the GIL for a call of Python on a worker.
class PythonOnWorker {
public:
    PythonOnWorker() { isWorker = true; }
    ~PythonOnWorker() { isWorker = false; }
    PythonOnWorker(const PythonOnWorker&) = delete;
    PythonOnWorker& operator=(const PythonOnWorker&) = delete;

private:
    py::gil_scoped_acquire m_gil;
};

void endUnwanted()
{
    if (isWorker)
        return;
    std::vector<OwnItem> items;
    items.swap(unwanted());
    const WithoutGil released;
    items.clear();
}

/// Calls Python with a frame. False, after a report, when that raises.
template <class Then>
bool callWith(const Callable& function, CxImageData& data, const Then& then)
{
    const PythonOnWorker python;
    try {
        then((*function)(frameFrom(data)));
        return true;
    } catch (py::error_already_set& error) {
        error.discard_as_unraisable(*function);
    } catch (const py::builtin_exception& error) {
        error.set_error();
        PyErr_WriteUnraisable(function->ptr());
    }
    return false;
}

/// Sends frames on as they are.
class Passage : public IxDataProcessor {
public:
    ~Passage() override { retire(); }
};

class Processor : public IxDataProcessor {
public:
    explicit Processor(Callable process) : m_process(std::move(process)) {}
    ~Processor() override { retire(); }

protected:
    bool processData(IxData* input, IxData*& output) override
    {
        auto* const frame = qobject_cast<CxImageData*>(input);
        const auto send = [&output](const py::object& result) {
            if (result.is_none())
                return;
            if (!py::isinstance<Frame>(result))
                throw py::type_error("process returns a frame or None");
            output = frameFor(result.cast<Frame&>()).release();
        };
        if (frame == nullptr || !callWith(m_process, *frame, send))
            return false;
        delete input;
        return true;
    }

private:
    const Callable m_process;
};

}  // namespace

OwnItem::OwnItem(std::unique_ptr<IxPipeItem> item) : m_item(std::move(item)), m_process(getpid()) {}

OwnItem::~OwnItem()
{
    if (!isHere())
        static_cast<void>(m_item.release());
}

bool OwnItem::isHere() const
{
    return m_process == getpid();
}

Node::Node(std::unique_ptr<IxPipeItem> item) : m_item(std::move(item))
{
    endUnwanted();
    nodes().insert(this);
}

Node::~Node()
{
    nodes().erase(this);
    if (isWorker) {
        unwanted().push_back(std::move(m_item));
    } else if (isHere()) {
        const WithoutGil released;
        m_item.end();
    }
}

IxPipeItem& Node::item() const
{
    if (!isHere())
        throw std::runtime_error("the item belongs to the process that this one was forked from");
    return m_item.get();
}

// A successor is kept before the connection stands: another thread may take that back at once.
bool Node::connect(const std::shared_ptr<Node>& successor)
{
    IxPipeItem& mine = item();
    IxPipeItem* const other = successor ? &successor->item() : nullptr;
    m_successors.push_back(successor);
    if (withoutGil([&] { return mine.addSuccessor(other); }))
        return true;
    forget(successor);
    return false;
}

bool Node::disconnect(const std::shared_ptr<Node>& successor)
{
    IxPipeItem& mine = item();
    IxPipeItem* const other = successor ? &successor->item() : nullptr;
    if (!withoutGil([&] { return mine.removeSuccessor(other); }))
        return false;
    forget(successor);
    return true;
}

void Node::forget(const std::shared_ptr<Node>& successor)
{
    m_successors.erase(std::find(m_successors.begin(), m_successors.end(), successor));
}

Callable callableOf(const py::object& function)
{
    if (PyCallable_Check(function.ptr()) == 0)
        throw py::type_error("a function is wanted, not " + std::string(Py_TYPE(function.ptr())->tp_name));
    return Callable(new py::object(function), [](const py::object* held) {
        const py::gil_scoped_acquire gil;
        delete held;
    });
}

std::unique_ptr<IxPipeItem> makeProcessor(const Callable& process)
{
    if (process == nullptr)
        return std::make_unique<Passage>();
    return std::make_unique<Processor>(process);
}

std::unique_ptr<IxPipeItem> makeSink(const Callable& callback)
{
    return std::make_unique<CxFrameSink>([callback](CxImageData& data) {
        if (!callWith(callback, data, [](const py::object&) {}))
            throw std::runtime_error("the callback raised an exception");
    });
}

Frame ArraySource::next(const ArrayImage& image)
{
    const auto age = std::chrono::steady_clock::now() - m_made;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(age).count();
    return {py::cast(image), m_nextFrameNo++, static_cast<std::uint64_t>(microseconds),
            QDateTime::currentDateTime(), py::dict()};
}

void stopAll()
{
    endUnwanted();
    std::vector<std::shared_ptr<Node>> all;
    for (Node* const node : nodes()) {
        if (node->isHere())
            all.push_back(node->shared_from_this());
    }
    const WithoutGil released;
    for (const auto& node : all)
        static_cast<void>(node->item().setState(IxPipeItem::StateStopped));
}

}  // namespace ko::python
