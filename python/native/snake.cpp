#include "binding.h"

#include <ko/snake.h>

namespace ko::python {

namespace {

py::tuple snake(const ArrayImage& src, const SxSnakeParams& params, const QList<_point_<int>>& input)
{
    const Source from(src);
    const SxSnakeParams settings = params;
    QList<_point_<int>> output;
    const ResultCode rc = withoutGil([&] { return SnakeImage(from, settings, input, output); });
    return py::make_tuple(rc, arrayOf(output, output.size()));
}

}  // namespace

void defineSnake(py::module_& module)
{
    using P = SxSnakeParams;
    const P good;
    py::class_<P>(module, "SxSnakeParams", py::is_final())
        .def(py::init([](double edgeFraction, double continuity, double curvature, double distance,
                         double gradient, int refine, int refineInterval, int loopDistance, int pointSpacing,
                         int maxIterations) {
                 return P{edgeFraction, continuity,     curvature,    distance,     gradient,
                          refine,       refineInterval, loopDistance, pointSpacing, maxIterations};
             }),
             py::arg("edgeFraction") = good.edgeFraction, py::arg("weightContinuity") = good.weightContinuity,
             py::arg("weightCurvature") = good.weightCurvature,
             py::arg("weightDistance") = good.weightDistance, py::arg("weightGradient") = good.weightGradient,
             py::arg("refine") = good.refine, py::arg("refineInterval") = good.refineInterval,
             py::arg("loopDistance") = good.loopDistance, py::arg("pointSpacing") = good.pointSpacing,
             py::arg("maxIterations") = good.maxIterations)
        .def_readwrite("edgeFraction", &P::edgeFraction)
        .def_readwrite("weightContinuity", &P::weightContinuity)
        .def_readwrite("weightCurvature", &P::weightCurvature)
        .def_readwrite("weightDistance", &P::weightDistance)
        .def_readwrite("weightGradient", &P::weightGradient)
        .def_readwrite("refine", &P::refine)
        .def_readwrite("refineInterval", &P::refineInterval)
        .def_readwrite("loopDistance", &P::loopDistance)
        .def_readwrite("pointSpacing", &P::pointSpacing)
        .def_readwrite("maxIterations", &P::maxIterations);
    module.def("SnakeImage", &snake, py::arg("src"), py::arg("params"), py::arg("input"));
}

}  // namespace ko::python
