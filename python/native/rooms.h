// What each room adds to the module.
#pragma once

#include <pybind11/pybind11.h>

namespace ko::python {

namespace py = pybind11;

void defineEnumerations(py::module_& module);
void defineImages(py::module_& module);
void defineContainers(py::module_& module);
void defineThreads(py::module_& module);
void defineCore(py::module_& module);
void defineRaw(py::module_& module);
void defineDemosaic(py::module_& module);
void defineMasks(py::module_& module);
void defineHistograms(py::module_& module);
void defineStats(py::module_& module);
void defineAccumulators(py::module_& module);
void defineTone(py::module_& module);
void definePixel(py::module_& module);
void defineConvert(py::module_& module);
void defineFilters(py::module_& module);
void defineMedian(py::module_& module);
void defineMemory(py::module_& module);
void defineSnake(py::module_& module);
void defineFrames(py::module_& module);
void definePipeline(py::module_& module);

}  // namespace ko::python
