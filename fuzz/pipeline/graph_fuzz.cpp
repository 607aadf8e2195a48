// Items that are connected, started, fed, stopped and destroyed in any order.
#include "fuzz/pipeline/families.h"
#include "fuzz/support/variants.h"
#include "rooms/pipeline/stage.h"

#include <ko/pipeline.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ko::fuzz {

namespace {

constexpr int patience = 20000;  // milliseconds after which a pipe has hung up

std::unique_ptr<IxPipeItem> anyItem(ByteReader& in)
{
    switch (in.below(8)) {
    case 0:
        return std::make_unique<CxFrameSource>();
    case 1:
        return std::make_unique<CxFrameSink>([](CxImageData&) {});
    case 2:
        return std::make_unique<CxFrameSink>(CxFrameSink::Callback{});
    case 3:
        return std::make_unique<test::Stage>([](CxImageData&) { return false; });
    case 4:
        return std::make_unique<test::Stage>([](CxImageData&) -> bool { throw std::runtime_error("no"); });
    case 5:
        return std::make_unique<IxDataProcessor>();
    default:
        return std::make_unique<test::Stage>();
    }
}

std::unique_ptr<CxImageData> anyFrame(ByteReader& in)
{
    return in.oneIn(8) ? std::make_unique<CxImageData>() : test::makeFrame(in.byte());
}

/// The items and what is known of them.
class Graph {
public:
    explicit Graph(ByteReader& in) : m_in(in) {}
    ~Graph()
    {
        for (const auto& item : m_items)
            StopPipe(*item);
        for (const auto& item : m_items)
            requireBalance(*item, true);
    }
    Graph(const Graph&) = delete;
    Graph& operator=(const Graph&) = delete;

    void act()
    {
        if (m_items.size() < 2 || (m_items.size() < 6 && m_in.oneIn(8)))
            m_items.push_back(anyItem(m_in));
        IxPipeItem& item = *m_items[index()];
        switch (m_in.below(12)) {
        case 0:
        case 1:
            connect();
            break;
        case 2:
            disconnect();
            break;
        case 3:
            StartPipe(item);
            break;
        case 4:
            require(StopPipe(item), "a stop that was not waited for");
            break;
        case 5:
            require(DrainPipe(item, patience), "a pipe does not come to rest");
            break;
        case 6:
        case 7:
            feed(item);
            break;
        case 8:
            item.setState(m_in.flag() ? IxPipeItem::StateStarted : IxPipeItem::StateStopped);
            break;
        case 9:
            configure(item);
            break;
        case 10:
            inspect(item);
            break;
        default:
            if (m_in.oneIn(4))
                destroy();
            break;
        }
    }

private:
    using Edge = std::pair<const IxPipeItem*, const IxPipeItem*>;

    std::size_t index() { return static_cast<std::size_t>(m_in.below(static_cast<int>(m_items.size()))); }

    bool leadsTo(const IxPipeItem* from, const IxPipeItem* to) const
    {
        if (from == to)
            return true;
        for (const auto& [start, end] : m_edges)
            if (start == from && leadsTo(end, to))
                return true;
        return false;
    }

    void connect()
    {
        IxPipeItem& from = *m_items[index()];
        IxPipeItem& to = *m_items[index()];
        const bool isNull = m_in.oneIn(16);
        const bool isConnected = m_in.flag() ? from.addSuccessor(isNull ? nullptr : &to)
                                             : to.addPrecedessor(isNull ? nullptr : &from);
        if (!isConnected)
            return;
        require(!isNull && from.isStopped() && to.isStopped(), "connected what cannot be");
        require(m_edges.count({&from, &to}) == 0 && !leadsTo(&to, &from), "connected twice or in a circle");
        m_edges.insert({&from, &to});
    }

    void disconnect()
    {
        IxPipeItem& from = *m_items[index()];
        IxPipeItem& to = *m_items[index()];
        const bool mayPart = m_edges.count({&from, &to}) != 0 && from.isStopped() && to.isStopped();
        const bool hasParted = m_in.flag() ? from.removeSuccessor(&to) : to.removePrecedessor(&from);
        require(hasParted == mayPart, "another answer to a disconnection");
        if (hasParted)
            m_edges.erase({&from, &to});
    }

    void feed(IxPipeItem& item)
    {
        for (int i = m_in.below(6); i >= 0; --i) {
            auto* const source = dynamic_cast<CxFrameSource*>(&item);
            if (source == nullptr) {
                item.onDataAvailable(anyFrame(m_in).release(), nullptr);
            } else if (m_in.flag()) {
                source->push(anyFrame(m_in));
            } else {
                SxImageBuf image;
                (void)AllocBuffer(image, 3, 2, 1, UInt8, 0, 8, Interleaved, true, CompressionNone);
                source->push(image);
            }
        }
    }

    void configure(IxPipeItem& item)
    {
        const bool isStopped = item.isStopped();
        const int capacity = m_in.between(-1, 4);
        const auto policy = m_in.code({QueueBlocks, QueueDropsOldest});
        const bool isSet = item.setQueue(capacity, policy);
        require(!isSet || (isStopped && capacity > 0 && item.queueCapacity() == capacity &&
                           item.queuePolicy() == policy),
                "a queue that cannot be");
        const QString name = QStringLiteral("item %1").arg(m_in.byte());
        require(item.setName(name) == isStopped, "named while started, or not while stopped");
        QVariantMap settings = item.saveSettings();
        require(item.loadSettings(settings) == isStopped, "does not take its own settings");
        for (QVariant& value : settings)
            if (m_in.flag())
                value = anyVariant(m_in);
        item.loadSettings(settings);
        if (m_in.oneIn(8))
            item.addFlags(m_in.flag() ? IxPipeItem::FlagNoInput : IxPipeItem::FlagNoOutput);
    }

    void inspect(IxPipeItem& item)
    {
        requireBalance(item, false);
        require(item.isStarted() != item.isStopped() && item.calcFps() >= 0.0, "no state, or no rate");
        require(item.waitUntilIdle(patience), "an item does not come to rest");
        require(!item.hasConfigurationWidget() && item.configurationWidget(nullptr) == nullptr, "a widget");
        const bool isInvalidSink = dynamic_cast<CxFrameSink*>(&item) != nullptr && !item.isValid();
        require(!isInvalidSink || item.isStopped(), "an invalid item has started");
        require(item.title() == item.name() && item.myThread()->objectName() == item.name(), "another name");
        const std::unique_ptr<IxDataInfo> input(item.currentInputDataInfo());
        const std::unique_ptr<IxDataInfo> output(item.currentOutputDataInfo());
        const CxImageDataInfo image{SxImageInfo{}};
        IxDataInfo* described = nullptr;
        const bool isDescribed =
            item.queryOutputDataInfo(input ? input.get() : &image, described, nullptr, nullptr);
        require(isDescribed == (described != nullptr), "status and answer contradict each other");
        delete described;
        item.acceptsData(m_in.flag() ? &image : nullptr);
        IxPipeItem& other = *m_items[index()];
        item.acceptAsSuccessor(&other);
        item.acceptAsPrecedessor(&other);
        item.flags();
    }

    void requireBalance(const IxPipeItem& item, bool isAtRest) const
    {
        const SxPipeStatistics counts = item.statistics();
        const std::uint64_t settled = counts.processed + counts.failed + counts.dropped + counts.waiting;
        // One that is being worked on, and one that every other item waits with for room.
        const std::uint64_t open = isAtRest ? 0 : m_items.size();
        require(settled <= counts.received && counts.received <= settled + open,
                "frames have come from nowhere or gone there");
        require(!isAtRest || counts.waiting == 0, "frames wait behind a stopped item");
    }

    void destroy()
    {
        const std::size_t i = index();
        const IxPipeItem* const gone = m_items[i].get();
        std::erase_if(m_edges, [&](const Edge& edge) { return edge.first == gone || edge.second == gone; });
        m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(i));
    }

    ByteReader& m_in;
    std::vector<std::unique_ptr<IxPipeItem>> m_items;
    std::set<Edge> m_edges;
};

void graph(ByteReader& in, Outcome&)
{
    Graph items(in);
    for (int i = in.below(40); i >= 0; --i)
        items.act();
}

}  // namespace

Cases graphCases()
{
    return {{"graph: graph", &graph}};
}

}  // namespace ko::fuzz
