#include "binding.h"
#include "image_lists.h"
#include "rooms.h"

#include <ko/stats/accumulate.h>

namespace ko::python {

namespace {

/// An accumulator whose planes are those of arrays.
struct Accumulator {
    ArrayImage sum, squares, minimum, maximum, above, counts;
    std::uint64_t frames = 0;
    std::uint32_t level = 0;
    Use use;
};

/// The planes of an accumulator for one call, each as a `Plane`.
template <class Plane>
class PlanesInUse {
public:
    explicit PlanesInUse(Accumulator& given)
        : m_claim(given.use),
          m_planes{Plane(given.sum),     Plane(given.squares), Plane(given.minimum),
                   Plane(given.maximum), Plane(given.above),   Plane(given.counts)},
          record{m_planes[0], m_planes[1], m_planes[2],  m_planes[3],
                 m_planes[4], m_planes[5], given.frames, given.level}
    {
    }

private:
    Claim m_claim;
    std::array<Plane, 6> m_planes;

public:
    SxAccumulator record;
};

}  // namespace

template <>
struct Argument<const SxAccumulator&> : PlanesInUse<Source> {
    using Given = Accumulator&;
    using PlanesInUse<Source>::PlanesInUse;
    const SxAccumulator& get() const { return record; }
};

template <>
struct Argument<SxAccumulator&> : PlanesInUse<Destination> {
    using Given = Accumulator&;
    explicit Argument(Accumulator& given) : PlanesInUse<Destination>(given), m_given(given) {}
    ~Argument() { m_given.frames = record.frames; }
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
    SxAccumulator& get() { return record; }

private:
    Accumulator& m_given;
};

void defineAccumulators(py::module_& module)
{
    using A = Accumulator;
    py::class_<A>(module, "SxAccumulator", py::is_final())
        .def(py::init([](const ArrayImage& sum, const ArrayImage& squares, const ArrayImage& minimum,
                         const ArrayImage& maximum, const ArrayImage& above, const ArrayImage& counts,
                         std::uint64_t frames, std::uint32_t level) {
                 return A{sum, squares, minimum, maximum, above, counts, frames, level, {}};
             }),
             py::arg("sum") = ArrayImage(), py::arg("squares") = ArrayImage(),
             py::arg("minimum") = ArrayImage(), py::arg("maximum") = ArrayImage(),
             py::arg("above") = ArrayImage(), py::arg("counts") = ArrayImage(), py::arg("frames") = 0,
             py::arg("level") = 0)
        .def_readonly("sum", &A::sum)
        .def_readonly("squares", &A::squares)
        .def_readonly("minimum", &A::minimum)
        .def_readonly("maximum", &A::maximum)
        .def_readonly("above", &A::above)
        .def_readonly("counts", &A::counts)
        .def_readwrite("frames", &A::frames)
        .def_readwrite("level", &A::level);
    module.attr("mostAccumulatedFrames") = mostAccumulatedFrames;
    define(module, "ClearAccumulator", ClearAccumulator, {"sums"});
    define(module, "AccumulateFrames", AccumulateFrames, {"frames", "masks", "sums"});
    define(module, "MergeAccumulators", MergeAccumulators, {"from_", "into"});
    define(module, "AccumulatedMean", AccumulatedMean, {"sums", "mean"});
    define(module, "AccumulatedVariance", AccumulatedVariance, {"sums", "ddof", "variance"});
}

}  // namespace ko::python
