#include "binding.h"

#include <ko/stats.h>

namespace ko::python {

namespace {

using Image = const SxImageBuf&;
using Counts = CxImageHistogram&;
using Points = const QList<QPoint>&;

/// The parameters of an operation that counts what it visits, without the last: it returns the status and the count.
template <class... Parameters>
struct Counting {
    template <ResultCode (*operation)(Parameters..., int&)>
    static std::tuple<ResultCode, int> call(Parameters... parameters)
    {
        int count = 0;
        const ResultCode rc = operation(parameters..., count);
        return {rc, count};
    }
};

void defineWhole(py::module_& module)
{
    define(module, "Histogram", overload<Image, Counts>(Histogram), {"src", "hist"});
    define(module, "Histogram", overload<Image, const QRect&, Counts>(Histogram), {"src", "roi", "hist"});
    define(module, "Histogram", overload<Image, int, Counts, int>(Histogram),
           {"src", "channel", "hist", "plane"});
    define(module, "Histogram", overload<Image, const QRect&, int, Counts, int>(Histogram),
           {"src", "roi", "channel", "hist", "plane"});
    define(module, "Histogram", overload<Image, Image, const QPoint&, Counts>(Histogram),
           {"src", "stencil", "pos", "hist"});
    define(module, "Histogram", overload<Image, Image, const QPoint&, int, Counts, int>(Histogram),
           {"src", "stencil", "pos", "channel", "hist", "plane"});
    define(module, "Histogram", overload<Image, const QPoint&, Points, Counts>(Histogram),
           {"src", "origin", "offsets", "hist"});
    define(module, "Histogram", overload<Image, const QPoint&, Points, int, Counts, int>(Histogram),
           {"src", "origin", "offsets", "channel", "hist", "plane"});
}

void defineMasked(py::module_& module)
{
    define(module, "HistogramMasked", overload<Image, Image, Counts>(HistogramMasked),
           {"src", "mask", "hist"});
    define(module, "HistogramMasked", overload<Image, Image, const QRect&, Counts>(HistogramMasked),
           {"src", "mask", "roi", "hist"});
    define(module, "HistogramMasked", overload<Image, Image, int, Counts, int>(HistogramMasked),
           {"src", "mask", "channel", "hist", "plane"});
    define(module, "HistogramMasked",
           Counting<Image, Image, const QRect&, int, Counts, int>::call<HistogramMasked>,
           {"src", "mask", "roi", "channel", "hist", "plane"});
    define(module, "HistogramMasked",
           Counting<Image, Image, Image, const QPoint&, Counts>::call<HistogramMasked>,
           {"src", "mask", "stencil", "pos", "hist"});
    define(module, "HistogramMasked",
           Counting<Image, Image, Image, const QPoint&, int, Counts, int>::call<HistogramMasked>,
           {"src", "mask", "stencil", "pos", "channel", "hist", "plane"});
    define(module, "HistogramMasked",
           Counting<Image, Image, const QPoint&, Points, int, Counts, int>::call<HistogramMasked>,
           {"src", "mask", "origin", "offsets", "channel", "hist", "plane"});
}

/// Sizes its histogram itself, so it counts into one of its own.
ResultCode countAnew(const ArrayImage& src, Counters& hist)
{
    const Source from(src);
    CxImageHistogram counted;
    const ResultCode rc = withoutGil([&] { return HistogramEx(from, counted); });
    if (counted.bins == nullptr)
        return rc;
    hist.resize(counted.planes, counted.levels, 0);
    for (std::int32_t plane = 0; plane < counted.planes; ++plane)
        std::copy_n(counted.bins[plane], counted.levels, hist.row(plane));
    return rc;
}

void defineColours(py::module_& module)
{
    module.def("HistogramEx", &countAnew, py::arg("src"), py::arg("hist"));
    define(module, "HistogramGrayFromRGB", &HistogramGrayFromRGB, {"src", "hist", "plane"});
    define(module, "HistogramGrayFromRGBMasked", &HistogramGrayFromRGBMasked, {"src", "hist", "mask"});
    define(module, "HistogramRGBGrayFromRGB", &HistogramRGBGrayFromRGB, {"src", "hist"});
    define(module, "HistogramRGBGrayFromRGBMasked",
           overload<Image, Counts, Image>(HistogramRGBGrayFromRGBMasked), {"src", "hist", "mask"});
    define(module, "HistogramRGBGrayFromRGBMasked",
           overload<Image, Image, Counts>(HistogramRGBGrayFromRGBMasked), {"src", "mask", "hist"});
    define(module, "HistogramRGBGrayFromRawPlanar", &HistogramRGBGrayFromRawPlanar, {"src", "hist"});
    define(module, "HistogramRGBGrayFromRawPlanarMasked", &HistogramRGBGrayFromRawPlanarMasked,
           {"src", "mask", "hist"});
    define(module, "RowHistogram", &RowHistogram, {"src", "row", "hist"});
    define(module, "ColHistogram", &ColHistogram, {"src", "col", "hist"});
    define(module, "RowHistogramMasked", &RowHistogramMasked, {"src", "mask", "row", "hist"});
    define(module, "ColHistogramMasked", &ColHistogramMasked, {"src", "mask", "col", "hist"});
}

/// Both masked forms for one kind of histogram. They read the mask on behind its rows.
template <class Joint>
void defineMaskedJoint(py::module_& module)
{
    module.def(
        "HistogramMasked2D",
        [](const ArrayImage& src1, const ArrayImage& src2, const ArrayImage& mask,
           typename Argument<Joint&>::Given h) {
            needAllBytes(mask, "mask");
            const Source first(src1), second(src2), selecting(mask);
            const Argument<Joint&> counts(h);
            return withoutGil([&] { return HistogramMasked2D(first, second, selecting, counts.get()); });
        },
        py::arg("src1"), py::arg("src2"), py::arg("mask"), py::arg("h"));
    define(module, "HistogramMasked2D", overload<Image, int, Image, int, Image, Joint&>(HistogramMasked2D),
           {"src1", "ch1", "src2", "ch2", "mask", "h"});
}

}  // namespace

void defineHistograms(py::module_& module)
{
    defineWhole(module);
    defineMasked(module);
    defineColours(module);

    using Sparse = CxImageHistogramSparse2D&;
    define(module, "Histogram2D", overload<Image, Image, Sparse>(Histogram2D), {"src1", "src2", "h"});
    define(module, "Histogram2D", overload<Image, int, Image, int, Sparse>(Histogram2D),
           {"src1", "ch1", "src2", "ch2", "h"});
    define(module, "RowHistogram2D", &RowHistogram2D, {"src1", "ch1", "src2", "ch2", "row", "h"});
    define(module, "ColHistogram2D", &ColHistogram2D, {"src1", "ch1", "src2", "ch2", "col", "h"});
    defineMaskedJoint<CxImageHistogram2D>(module);
    defineMaskedJoint<CxImageHistogramSparse2D>(module);
}

}  // namespace ko::python
