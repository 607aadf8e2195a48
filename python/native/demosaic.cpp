#include "binding.h"

#include <ko/demosaic.h>

#include <pybind11/stl.h>

namespace ko::python {

namespace {

using WholeImage = ResultCode (*)(const SxImageBuf&, SxImageBuf&, void*);
using Region = ResultCode (*)(const SxImageBuf&, const QRect&, SxImageBuf&, void*);

/// The two forms of a demosaicing operation with their kind of work buffer.
template <class Buffer, WholeImage whole, Region region>
void defineForms(py::module_& module, const char* name)
{
    define(module, name,
           +[](const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, Work<Buffer> work) {
               return region(src, roi, dst, work.buffer);
           },
           {"src", "roi", "dst", "buffer"});
    define(module, name,
           +[](const SxImageBuf& src, SxImageBuf& dst, Work<Buffer> work) {
               return whole(src, dst, work.buffer);
           },
           {"src", "dst", "buffer"});
}

}  // namespace

void defineDemosaic(py::module_& module)
{
    defineForms<DemosaicWork, Demosaic, Demosaic>(module, "Demosaic");
    defineForms<CentredWork, DemosaicMalvar, DemosaicMalvar>(module, "DemosaicMalvar");
    defineForms<CentredWork, DemosaicMenon, DemosaicMenon>(module, "DemosaicMenon");
    module.def(
        "DemosaicAllocBuffer",
        [](const SxImageInfo& info, const std::optional<QRect>& roi) {
            return owner<DemosaicWork>(roi ? DemosaicAllocBuffer(info, *roi) : DemosaicAllocBuffer(info));
        },
        py::arg("info"), py::arg("roi") = py::none());
    module.def(
        "DemosaicCentredAllocBuffer",
        [](int width) { return owner<CentredWork>(DemosaicCentredAllocBuffer(width)); }, py::arg("width"));
    defineFree<DemosaicWork>(module, "DemosaicFreeBuffer");
    defineFree<CentredWork>(module, "DemosaicCentredFreeBuffer");
}

}  // namespace ko::python
