#include "binding.h"

#include <ko/filters.h>

namespace ko::python {

namespace {

/// The operation takes the samples of dst for those of src.
ResultCode stretch(const ArrayImage& src, const ArrayImage& dst, Interpolation interpolation)
{
    const Source from(src);
    Destination to(dst);
    const bool isAlike = from->dataType == to->dataType && from->channels == to->channels &&
                         (to->packing == Interleaved || to->channels == 1);
    if (from->data != nullptr && to->data != nullptr && !isAlike)
        throw py::value_error(
            "dst: interleaved samples of the type and the number of channels of src are wanted");
    return withoutGil([&] { return Stretch(from, to, interpolation); });
}

}  // namespace

void defineFilters(py::module_& module)
{
    module.def("Stretch", &stretch, py::arg("src"), py::arg("dst"), py::arg("interpolation"));
    define(module, "Resize", &Resize, {"src", "dst"});
    define(module, "Sobel", &Sobel, {"src", "dst"});
    define(module, "ChamferDistance", &ChamferDistance, {"src", "dst", "mask"});
}

}  // namespace ko::python
