#include "binding.h"

#include <ko/convert.h>

#include <pybind11/stl.h>

#include <algorithm>

namespace ko::python {

namespace {

/// Runs a conversion that measures a range per channel, or per position of a mosaic; the ranges of a failure are none.
template <class Number, class Operation>
py::tuple measured(const Source& src, const Operation& operation)
{
    const bool isMosaic = src->channels == 1 && src->bayerGrid != BayerNone;
    const int count = isMosaic ? 4 : std::max(src->channels, 0);
    const auto room = static_cast<std::size_t>(std::max(count, 4));
    std::vector<Number> lows(room), highs(room);
    const ResultCode rc = withoutGil([&] { return operation(lows.data(), highs.data()); });
    const auto filled = isFailure(rc) ? 0 : count;
    return py::make_tuple(rc, std::vector<Number>(lows.begin(), lows.begin() + filled),
                          std::vector<Number>(highs.begin(), highs.begin() + filled));
}

template <class Number,
          ResultCode (*operation)(const SxImageBuf&, SxImageBuf&, NormalizationType, Number*, Number*, bool)>
py::tuple convertClearing(const ArrayImage& src, const ArrayImage& dst, NormalizationType normalization,
                          bool zeroBased)
{
    needAllBytes(dst, "dst");
    const Source from(src);
    Destination to(dst);
    return measured<Number>(from, [&](Number* min, Number* max) {
        return operation(from, to, normalization, min, max, zeroBased);
    });
}

template <class Number,
          ResultCode (*operation)(const SxImageBuf&, SxImageBuf&, NormalizationType, Number*, Number*)>
py::tuple convert(const ArrayImage& src, const ArrayImage& dst, NormalizationType normalization)
{
    const Source from(src);
    Destination to(dst);
    return measured<Number>(
        from, [&](Number* min, Number* max) { return operation(from, to, normalization, min, max); });
}

template <class Number, ResultCode (*operation)(const SxImageBuf&, const SxImageBuf&, SxImageBuf&,
                                                NormalizationType, Number*, Number*)>
py::tuple convertMasked(const ArrayImage& src, const ArrayImage& mask, const ArrayImage& dst,
                        NormalizationType normalization)
{
    const Source from(src), selecting(mask);
    Destination to(dst);
    return measured<Number>(from, [&](Number* min, Number* max) {
        return operation(from, selecting, to, normalization, min, max);
    });
}

}  // namespace

void defineConvert(py::module_& module)
{
    module.def("ConvertDoubleToU", &convertClearing<double, ConvertDoubleToU>, py::arg("src"), py::arg("dst"),
               py::arg("normalization"), py::arg("zeroBased"));
    module.def("ConvertFloatToU", &convertClearing<float, ConvertFloatToU>, py::arg("src"), py::arg("dst"),
               py::arg("normalization"), py::arg("zeroBased"));
    module.def("ConvertFloatToU8", &convert<float, ConvertFloatToU8>, py::arg("src"), py::arg("dst"),
               py::arg("normalization"));
    module.def("ConvertFloatToU8", &convertMasked<float, ConvertFloatToU8>, py::arg("src"), py::arg("mask"),
               py::arg("dst"), py::arg("normalization"));
    module.def("ConvertDoubleToUMasked", &convertMasked<double, ConvertDoubleToUMasked>, py::arg("src"),
               py::arg("mask"), py::arg("dst"), py::arg("normalization"));
    module.def("ConvertI32ToU", &convert<int, ConvertI32ToU>, py::arg("src"), py::arg("dst"),
               py::arg("normalization"));
    module.def(
        "ScaleDoubleFloatToU",
        [](const ArrayImage& src, const ArrayImage& dst, double min, double max) {
            needAllBytes(dst, "dst");
            const Source from(src);
            Destination to(dst);
            return withoutGil([&] { return ScaleDoubleFloatToU(from, to, min, max); });
        },
        py::arg("src"), py::arg("dst"), py::arg("min"), py::arg("max"));
}

}  // namespace ko::python
