#include "binding.h"

#include <ko/median.h>

namespace ko::python {

void defineMedian(py::module_& module)
{
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
