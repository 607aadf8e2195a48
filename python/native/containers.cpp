#include "containers.h"

#include <algorithm>
#include <string>
#include <tuple>

namespace ko::python {

void needIdle(const Use& use)
{
    if (use.isBusy)
        throw std::runtime_error("another call is using the object");
}

Counters::Counters(const py::object& array, std::int32_t extra)
{
    if (!py::isinstance<py::array_t<std::uint32_t>>(array))
        throw py::type_error("an array of uint32 is wanted");
    py::array bins = py::reinterpret_borrow<py::array>(array);
    const int usable = int{py::array::c_style} | int{py::detail::npy_api::NPY_ARRAY_ALIGNED_};
    const bool isUsable = bins.ndim() == 2 && bins.writeable() && (bins.flags() & usable) == usable;
    if (!isUsable || bins.shape(0) > INT32_MAX || bins.shape(1) > INT32_MAX || extra < 0 ||
        extra >= bins.shape(1))
        throw py::value_error("counters are writable, contiguous and of shape (planes, levels + extraBins)");
    planes = static_cast<std::int32_t>(bins.shape(0));
    levels = static_cast<std::int32_t>(bins.shape(1)) - extra;
    extraBins = static_cast<std::uint32_t>(extra);
    m_bins = std::move(bins);
}

void Counters::resize(std::int32_t planeCount, std::int32_t levelCount, std::int32_t extraCount)
{
    const std::uint32_t extra = static_cast<std::uint32_t>(std::max(extraCount, 0));
    if (planeCount == planes && levelCount == levels && extra == extraBins) {
        clear();
        return;
    }
    release();
    if (planeCount < 1 || levelCount < 1)
        return;
    m_bins = py::module_::import("numpy").attr("zeros")(
        py::make_tuple(planeCount, std::int64_t{levelCount} + extra), "uint32");
    planes = planeCount;
    levels = levelCount;
    extraBins = extra;
}

void Counters::clear()
{
    for (std::int32_t plane = 0; plane < planes; ++plane)
        std::fill_n(row(plane), levels, 0U);
}

std::uint32_t* Counters::row(std::int32_t plane) const
{
    auto* const first = static_cast<std::uint32_t*>(const_cast<void*>(m_bins.data()));
    return first + std::int64_t{plane} * (std::int64_t{levels} + extraBins);
}

CountersInUse::CountersInUse(const Counters& counters) : m_counters(counters)
{
    if (counters.planes < 1)
        return;
    for (std::int32_t plane = 0; plane < counters.planes; ++plane)
        m_rows.push_back(counters.row(plane));
    m_record.bins = m_rows.data();
    m_record.planes = counters.planes;
    m_record.levels = counters.levels;
    m_record.extraBins = counters.extraBins;
}

CountersInUse::~CountersInUse()
{
    m_record.bins = nullptr;
    m_record.planes = m_record.levels = 0;
}

namespace {

template <class Container>
void needPlane(const Container& counts, int plane)
{
    if (plane < 0 || plane >= counts.planes())
        throw py::index_error("no such plane");
}

/// A plane of a dense histogram, sharing the memory of `owner`.
py::array matrixOf(const py::object& owner, int plane)
{
    const auto& counts = owner.cast<const CxImageHistogram2D&>();
    needPlane(counts, plane);
    // Rows lie one after another.
    const py::ssize_t side = counts.levels();
    return py::array_t<std::int32_t>({side, side}, counts[plane][0], owner);
}

/// The counts of a plane of a sparse histogram: rows, columns, counts.
py::array entriesOf(SparseCounters& histogram, int plane)
{
    const Claim claim(histogram.use);
    needPlane(histogram.counts, plane);
    std::vector<std::tuple<std::int32_t, std::int32_t, std::int32_t>> entries;
    for (int row = 0; row < histogram.counts.levels(); ++row) {
        for (const auto& [column, count] : histogram.counts[plane].rows()[row])
            entries.emplace_back(row, column, count);
    }
    std::sort(entries.begin(), entries.end());
    py::array_t<std::int32_t> array({static_cast<py::ssize_t>(entries.size()), py::ssize_t{3}});
    auto rows = array.mutable_unchecked<2>();
    for (std::size_t i = 0; i < entries.size(); ++i)
        std::tie(rows(i, 0), rows(i, 1), rows(i, 2)) = entries[i];
    return array;
}

template <class Buffer>
void defineBuffer(py::module_& module, const char* name)
{
    py::class_<Buffer>(module, name, py::is_final())
        .def("close", &Buffer::close)
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__", [](Buffer& self, const py::args&) { self.close(); });
}

}  // namespace

void defineContainers(py::module_& module)
{
    py::class_<Counters>(module, "CxImageHistogram", py::is_final())
        .def(py::init<>())
        .def(py::init<std::int32_t, std::int32_t, std::int32_t>(), py::arg("planes"), py::arg("levels"),
             py::arg("extraBins") = 0)
        .def(py::init<const py::object&, std::int32_t>(), py::arg("array"), py::arg("extraBins") = 0)
        .def_property_readonly("bins", &Counters::bins)
        .def_readonly("planes", &Counters::planes)
        .def_readonly("levels", &Counters::levels)
        .def_readonly("extraBins", &Counters::extraBins)
        .def("resize", &Counters::resize, py::arg("planeCount"), py::arg("levelCount"), py::arg("extraCount"))
        .def("clear", &Counters::clear)
        .def("release", &Counters::release);

    py::class_<CxImageHistogram2D>(module, "CxImageHistogram2D", py::is_final())
        .def(py::init<int, int>(), py::arg("planes"), py::arg("levels"))
        .def_property_readonly("planes", &CxImageHistogram2D::planes)
        .def_property_readonly("levels", &CxImageHistogram2D::levels)
        .def("__len__", &CxImageHistogram2D::planes)
        .def("__getitem__", &matrixOf, py::arg("plane"));

    py::class_<SparseCounters>(module, "CxImageHistogramSparse2D", py::is_final())
        .def(py::init([](int planes, int levels) {
                 return SparseCounters{CxImageHistogramSparse2D(planes, levels), {}};
             }),
             py::arg("planes"), py::arg("levels"))
        .def_property_readonly("planes", [](const SparseCounters& h) { return h.counts.planes(); })
        .def_property_readonly("levels", [](const SparseCounters& h) { return h.counts.levels(); })
        .def("__len__", [](const SparseCounters& h) { return h.counts.planes(); })
        .def("__getitem__", &entriesOf, py::arg("plane"))
        .def(
            "inc",
            [](SparseCounters& h, int plane, int row, int column) {
                const Claim claim(h.use);
                return h.counts.inc(plane, row, column);
            },
            py::arg("plane"), py::arg("row"), py::arg("column"));

    defineBuffer<DemosaicWork>(module, "DemosaicBuffer");
    defineBuffer<CentredWork>(module, "DemosaicCentredBuffer");
    defineBuffer<MedianWork>(module, "MedianBuffer");
}

}  // namespace ko::python
