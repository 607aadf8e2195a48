#include "binding.h"

#include <ko/demosaic.h>
#include <ko/median.h>

#include <pybind11/stl.h>

#include <memory>

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

/// Takes over what an operation has made; None where that is null.
template <class Buffer>
std::unique_ptr<Buffer> owner(void* buffer)
{
    return buffer == nullptr ? nullptr : std::make_unique<Buffer>(buffer);
}

template <class Buffer>
void defineFree(py::module_& module, const char* name)
{
    module.def(
        name,
        [](Buffer* buffer) {
            if (buffer != nullptr)
                buffer->close();
        },
        py::arg("buffer").none(true));
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

    define(module, "Median",
           +[](const SxImageBuf& src, SxImageBuf& dst, int radius, Work<MedianWork> work) {
               return Median(src, dst, radius, work.buffer);
           },
           {"src", "dst", "radius", "buffer"});
    module.def(
        "MedianAllocBuffer",
        [](const SxImageInfo& info, int radius) {
            void* buffer = nullptr;
            const ResultCode rc = MedianAllocBuffer(info, radius, &buffer);
            return py::make_tuple(rc, owner<MedianWork>(buffer));
        },
        py::arg("info"), py::arg("radius"));
    defineFree<MedianWork>(module, "MedianFreeBuffer");
}

}  // namespace ko::python
