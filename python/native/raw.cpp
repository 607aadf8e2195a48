#include "binding.h"
#include "fill.h"

#include <ko/raw.h>

#include <pybind11/stl.h>

namespace ko::python {

namespace {

ResultCode unpack(const std::optional<py::buffer>& data, std::size_t bytes, std::size_t pitch,
                  ExPackedLayout layout, const ArrayImage& dst)
{
    Destination to(dst);
    std::optional<Bytes> memory;
    if (data)
        memory.emplace(*data, false, bytes);
    return withoutGil(
        [&] { return UnpackSamples(memory ? memory->data() : nullptr, bytes, pitch, layout, to); });
}

ResultCode pack(const ArrayImage& src, ExPackedLayout layout, const std::optional<py::buffer>& data,
                std::size_t bytes, std::size_t pitch)
{
    const Source from(src);
    std::optional<Bytes> memory;
    if (data)
        memory.emplace(*data, true, bytes);
    return withoutGil(
        [&] { return PackSamples(from, layout, memory ? memory->data() : nullptr, bytes, pitch); });
}

ResultCode balance(const ArrayImage& src, const ArrayImage& dst, const py::object& gains,
                   const py::object& blackLevels)
{
    const Source from(src);
    Destination to(dst);
    const int colours = from->channels == 1 && from->bayerGrid != BayerNone ? 4 : from->channels;
    Values<double> factors(gains, colours, "gains");
    Values<int> blacks(blackLevels, colours, "blackLevels");
    return withoutGil([&] { return WhiteBalance(from, to, factors.get(), blacks.get()); });
}

}  // namespace

void defineRaw(py::module_& module)
{
    define(module, "packedBitsPerSample", &packedBitsPerSample, {"layout"});
    define(module, "packedRowBytes", &packedRowBytes, {"layout", "width"});
    module.def("UnpackSamples", &unpack, py::arg("data"), py::arg("bytes"), py::arg("pitch"),
               py::arg("layout"), py::arg("dst"));
    module.def("PackSamples", &pack, py::arg("src"), py::arg("layout"), py::arg("data"), py::arg("bytes"),
               py::arg("pitch"));
    module.def("WhiteBalance", &balance, py::arg("src"), py::arg("dst"), py::arg("gains"),
               py::arg("blackLevels"));
}

}  // namespace ko::python
