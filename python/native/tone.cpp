#include "binding.h"
#include "image_lists.h"

#include <ko/tone.h>

#include <algorithm>
#include <memory>

namespace ko::python {

namespace {

using Image = const SxImageBuf&;
using Target = SxImageBuf&;

ResultCode correct(const ArrayImage& src, const ArrayImage& background, const ArrayImage& dst,
                   double referenceLevel, double targetLevel, const py::object& gains)
{
    const Source from(src), by(background);
    Destination to(dst);
    const int count = std::min(from->channels, 3);
    Values<double> given(gains, count, "gains");
    // The operation releases the array, unless it refuses an argument.
    std::unique_ptr<double[]> taken;
    if (given.get() != nullptr) {
        taken = std::make_unique<double[]>(3);
        std::copy_n(given.get(), std::max(count, 0), taken.get());
    }
    const ResultCode rc =
        withoutGil([&] { return CorrectBackground(from, by, to, referenceLevel, targetLevel, taken.get()); });
    if (argumentOf(rc) == 0)
        static_cast<void>(taken.release());
    return rc;
}

ResultCode correctInPlace(const ArrayImage& background, const ArrayImage& image, int channelCount,
                          const py::object& factors)
{
    const Source by(background);
    Destination to(image);
    Values<double> given(factors, std::min(channelCount, to->channels), "factors");
    return withoutGil([&] { return BackgroundCorrection(by, to, channelCount, given.get()); });
}

void defineBands(py::module_& module)
{
    const char* const plain = "ThresholdAndStretchHistogram";
    define(module, plain, overload<Target, int, int, int>(ThresholdAndStretchHistogram),
           {"image", "channel", "low", "high"});
    define(module, plain, overload<Image, int, Target, int, int, int>(ThresholdAndStretchHistogram),
           {"src", "srcChannel", "dst", "dstChannel", "low", "high"});
    const char* const masked = "ThresholdAndStretchHistogramMasked";
    define(module, masked, overload<Target, Image, int, int, int>(ThresholdAndStretchHistogramMasked),
           {"image", "mask", "channel", "low", "high"});
    define(module, masked,
           overload<Image, int, Target, int, Image, int, int>(ThresholdAndStretchHistogramMasked),
           {"src", "srcChannel", "dst", "dstChannel", "mask", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGray", &ThresholdAndStretchHistogramGray,
           {"src", "dst", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGrayMasked", &ThresholdAndStretchHistogramGrayMasked,
           {"src", "mask", "dst", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGrayRawPlanar", &ThresholdAndStretchHistogramGrayRawPlanar,
           {"src", "dst", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGrayRawPlanarMasked",
           &ThresholdAndStretchHistogramGrayRawPlanarMasked, {"src", "mask", "dst", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGreenRawPlanar", &ThresholdAndStretchHistogramGreenRawPlanar,
           {"src", "dst", "dstChannel", "low", "high"});
    define(module, "ThresholdAndStretchHistogramGreenRawPlanarMasked",
           &ThresholdAndStretchHistogramGreenRawPlanarMasked,
           {"src", "dst", "dstChannel", "mask", "low", "high"});
}

}  // namespace

void defineTone(py::module_& module)
{
    define(module, "HistogramEqualize", &HistogramEqualize, {"src", "dst"});
    define(module, "HistogramMatch", overload<Image, Image, Target>(HistogramMatch),
           {"src", "reference", "dst"});
    define(module, "HistogramMatch", overload<Image, const CxImageHistogram&, Target>(HistogramMatch),
           {"src", "reference", "dst"});
    defineBands(module);
    define(module, "AverageImage", overload<QVector<SxImageBuf>, const QRect&, Target>(AverageImage),
           {"frames", "roi", "dst"});
    define(module, "AverageImage", overload<QVector<SxImageBuf>, Target>(AverageImage), {"frames", "dst"});
    module.def("CorrectBackground", &correct, py::arg("src"), py::arg("background"), py::arg("dst"),
               py::arg("referenceLevel"), py::arg("targetLevel"), py::arg("gains"));
    module.def("BackgroundCorrection", &correctInPlace, py::arg("background"), py::arg("image"),
               py::arg("channelCount"), py::arg("factors"));
}

}  // namespace ko::python
