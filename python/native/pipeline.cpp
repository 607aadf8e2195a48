#include "binding.h"
#include "items.h"

#include <ko/demosaic/convertor.h>

namespace ko::python {

namespace {

/// Kinds of items, as Python knows them.
struct ProcessorNode : Node {
    using Node::Node;
};
struct SourceNode : ProcessorNode {
    using ProcessorNode::ProcessorNode;
};
struct SinkNode : ProcessorNode {
    using ProcessorNode::ProcessorNode;
};
struct ConvertorNode : ProcessorNode {
    using ProcessorNode::ProcessorNode;
};

/// Calls an operation of an item without the GIL: it may wait for a worker that waits for the GIL.
template <class Item, class Result, class Class, class... Parameters>
auto calling(Result (Class::*operation)(Parameters...))
{
    return [operation](const Node& node, Parameters... parameters) {
        auto& item = node.itemAs<Item>();
        return withoutGil([&] { return (item.*operation)(parameters...); });
    };
}

template <class Item, class Result, class Class, class... Parameters>
auto calling(Result (Class::*operation)(Parameters...) const)
{
    return [operation](const Node& node, Parameters... parameters) {
        const auto& item = node.itemAs<Item>();
        return withoutGil([&] { return (item.*operation)(parameters...); });
    };
}

/// Names go by strings.
template <QString (IxPipeItem::*operation)() const>
std::string text(const Node& node)
{
    const IxPipeItem& item = node.item();
    return withoutGil([&] { return (item.*operation)().toStdString(); });
}

py::object formatOf(const std::unique_ptr<IxDataInfo>& info)
{
    const auto* const format = dynamic_cast<const CxImageDataInfo*>(info.get());
    return format != nullptr ? py::cast(format->info()) : py::none();
}

template <IxDataInfo* (IxPipeItem::*operation)() const>
py::object format(const Node& node)
{
    const IxPipeItem& item = node.item();
    return formatOf(withoutGil([&] { return std::unique_ptr<IxDataInfo>((item.*operation)()); }));
}

py::object outputFor(const Node& node, const SxImageInfo& input)
{
    const CxImageDataInfo info(input);
    IxPipeItem& item = node.item();
    IxDataInfo* output = nullptr;
    withoutGil([&] { return item.queryOutputDataInfo(&info, output, nullptr, nullptr); });
    return formatOf(std::unique_ptr<IxDataInfo>(output));
}

bool send(IxPipeItem& item, Frame& frame)
{
    std::unique_ptr<CxImageData> data = frameFor(frame);
    return withoutGil([&] { return item.onDataAvailable(data.release(), nullptr); });
}

void defineItems(py::module_& module)
{
    using Item = IxPipeItem;
    py::class_<Node, std::shared_ptr<Node>> item(module, "IxPipeItem");
    defineEnumeration<Item::ExState>(
        item, "ExState", {{"StateStopped", Item::StateStopped}, {"StateStarted", Item::StateStarted}});
    item.def("name", &text<&Item::name>)
        .def("title", &text<&Item::title>)
        .def(
            "setName",
            [](const Node& node, const std::string& name) {
                Item& self = node.item();
                return withoutGil([&] { return self.setName(QString::fromStdString(name)); });
            },
            py::arg("name"))
        .def("flags",
             [](const Node& node) {
                 const Item& self = node.item();
                 return withoutGil([&] { return static_cast<int>(self.flags()); });
             })
        .def("queueCapacity", calling<Item>(&Item::queueCapacity))
        .def("queuePolicy", calling<Item>(&Item::queuePolicy))
        .def("setQueue", calling<Item>(&Item::setQueue), py::arg("capacity"), py::arg("policy"))
        .def("statistics", calling<Item>(&Item::statistics))
        .def("waitUntilIdle", calling<Item>(&Item::waitUntilIdle), py::arg("milliseconds"))
        .def("calcFps", calling<Item>(&Item::calcFps))
        .def("isStarted", calling<Item>(&Item::isStarted))
        .def("isStopped", calling<Item>(&Item::isStopped))
        .def("isValid", calling<Item>(&Item::isValid))
        .def("saveSettings",
             [](const Node& node) {
                 const Item& self = node.item();
                 return dictOf(withoutGil([&] { return self.saveSettings(); }));
             })
        .def(
            "loadSettings",
            [](const Node& node, const py::dict& settings) {
                const QVariantMap map = mapOf(settings);
                Item& self = node.item();
                return withoutGil([&] { return self.loadSettings(map); });
            },
            py::arg("settings"))
        .def("setState", calling<Item>(&Item::setState), py::arg("state"))
        .def("addSuccessor", &Node::connect, py::arg("successor").none(true))
        .def("removeSuccessor", &Node::disconnect, py::arg("successor").none(true))
        .def(
            "addPrecedessor",
            [](Node& node, const std::shared_ptr<Node>& before) {
                return before && before->connect(node.shared_from_this());
            },
            py::arg("precedessor").none(true))
        .def(
            "removePrecedessor",
            [](Node& node, const std::shared_ptr<Node>& before) {
                return before && before->disconnect(node.shared_from_this());
            },
            py::arg("precedessor").none(true))
        .def(
            "acceptsData",
            [](const Node& node, const SxImageInfo& info) {
                const CxImageDataInfo format(info);
                Item& self = node.item();
                return withoutGil([&] { return self.acceptsData(&format); });
            },
            py::arg("info"))
        .def("queryOutputDataInfo", &outputFor, py::arg("input"))
        .def("currentInputDataInfo", &format<&Item::currentInputDataInfo>)
        .def("currentOutputDataInfo", &format<&Item::currentOutputDataInfo>)
        .def(
            "onDataAvailable", [](const Node& node, Frame& data) { return send(node.item(), data); },
            py::arg("data"));
}

void defineEnds(py::module_& module)
{
    py::class_<ProcessorNode, Node, std::shared_ptr<ProcessorNode>>(module, "IxDataProcessor")
        .def(py::init([](const py::object& process) {
                 return std::make_shared<ProcessorNode>(
                     makeProcessor(process.is_none() ? nullptr : callableOf(process)));
             }),
             py::arg("process") = py::none());
    py::class_<SourceNode, ProcessorNode, std::shared_ptr<SourceNode>>(module, "CxFrameSource",
                                                                       py::is_final())
        .def(py::init([] { return std::make_shared<SourceNode>(std::make_unique<ArraySource>()); }))
        .def(
            "push",
            [](const SourceNode& node, const ArrayImage& frame) {
                auto& source = node.itemAs<ArraySource>();
                Frame next = source.next(frame);
                return send(source, next);
            },
            py::arg("frame"))
        .def(
            "push", [](const SourceNode& node, Frame& frame) { return send(node.item(), frame); },
            py::arg("frame"));
    py::class_<SinkNode, ProcessorNode, std::shared_ptr<SinkNode>>(module, "CxFrameSink", py::is_final())
        .def(py::init([](const py::object& callback) {
                 return std::make_shared<SinkNode>(makeSink(callableOf(callback)));
             }),
             py::arg("callback"));
}

void defineConvertor(py::module_& module)
{
    using Item = CxDemosaicConvertor;
    py::class_<ConvertorNode, ProcessorNode, std::shared_ptr<ConvertorNode>> convertor(
        module, "CxDemosaicConvertor", py::is_final());
    defineEnumeration<Item::ExDemosaicAlgorithm>(convertor, "ExDemosaicAlgorithm",
                                                 {{"AlgorithmSimple", Item::AlgorithmSimple}});
    defineEnumeration<Item::ExBayerGridSource>(
        convertor, "ExBayerGridSource",
        {{"GridFromImage", Item::GridFromImage}, {"GridFromSettings", Item::GridFromSettings}});
    convertor.def(py::init([] { return std::make_shared<ConvertorNode>(std::make_unique<Item>()); }))
        .def("algorithm", calling<Item>(&Item::algorithm))
        .def("bayerGrid", calling<Item>(&Item::bayerGrid))
        .def("bayerGridSource", calling<Item>(&Item::bayerGridSource))
        .def("setAlgorithm", calling<Item>(&Item::setAlgorithm), py::arg("algorithm"))
        .def("setBayerGrid", calling<Item>(&Item::setBayerGrid), py::arg("bayerGrid"))
        .def("setBayerGridSource", calling<Item>(&Item::setBayerGridSource), py::arg("source"));
}

}  // namespace

void definePipeline(py::module_& module)
{
    py::class_<SxPipeStatistics>(module, "SxPipeStatistics", py::is_final())
        .def_readonly("received", &SxPipeStatistics::received)
        .def_readonly("processed", &SxPipeStatistics::processed)
        .def_readonly("failed", &SxPipeStatistics::failed)
        .def_readonly("dropped", &SxPipeStatistics::dropped)
        .def_readonly("waiting", &SxPipeStatistics::waiting);
    defineItems(module);
    defineEnds(module);
    defineConvertor(module);
    module.def(
        "StartPipe",
        [](const Node& first) {
            IxPipeItem& item = first.item();
            return withoutGil([&] { return StartPipe(item); });
        },
        py::arg("first"));
    module.def(
        "DrainPipe",
        [](const Node& first, int milliseconds) {
            IxPipeItem& item = first.item();
            return withoutGil([&] { return DrainPipe(item, milliseconds); });
        },
        py::arg("first"), py::arg("milliseconds") = -1);
    module.def(
        "StopPipe",
        [](const Node& first) {
            IxPipeItem& item = first.item();
            return withoutGil([&] { return StopPipe(item); });
        },
        py::arg("first"));
    py::module_::import("atexit").attr("register")(py::cpp_function(&stopAll));
}

}  // namespace ko::python
