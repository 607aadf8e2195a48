#include "binding.h"

#include <ko/pixel.h>

namespace ko::python {

namespace {

ResultCode thresholdInPlace(const ArrayImage& image, const py::object& threshold, const py::object& low,
                            const py::object& high)
{
    Destination to(image);
    const QVariant level = variantOf(threshold), below = variantOf(low), above = variantOf(high);
    return withoutGil([&] { return ThresholdBinary(to, level, below, above); });
}

ResultCode threshold(const ArrayImage& src, const ArrayImage& dst, const py::object& thresholds,
                     const py::object& lows, const py::object& highs)
{
    const Source from(src);
    Destination to(dst);
    Values<QVariant> levels(thresholds, from->channels, "thresholds");
    Values<QVariant> below(lows, from->channels, "lows");
    Values<QVariant> above(highs, from->channels, "highs");
    return withoutGil([&] { return ThresholdBinary(from, to, levels.get(), below.get(), above.get()); });
}

ResultCode thresholdMasked(const ArrayImage& src, const ArrayImage& mask, const ArrayImage& dst,
                           const py::object& thresholds, const py::object& lows, const py::object& highs)
{
    const Source from(src), selecting(mask);
    Destination to(dst);
    Values<QVariant> levels(thresholds, from->channels, "thresholds");
    Values<QVariant> below(lows, from->channels, "lows");
    Values<QVariant> above(highs, from->channels, "highs");
    return withoutGil(
        [&] { return ThresholdBinaryMasked(from, selecting, to, levels.get(), below.get(), above.get()); });
}

ResultCode thresholdAbove(const ArrayImage& src, const ArrayImage& dst, const py::object& thresholds,
                          const py::object& highs, bool fourChannelRule)
{
    const Source from(src);
    Destination to(dst);
    Values<QVariant> levels(thresholds, from->channels, "thresholds");
    Values<unsigned char> above(highs, from->channels, "highs");
    return withoutGil(
        [&] { return ThresholdBinaryGT(from, to, levels.get(), above.get(), fourChannelRule); });
}

ResultCode replaceBelow(const ArrayImage& image, const py::object& thresholds, const py::object& values,
                        bool fourChannelRule)
{
    Destination to(image);
    Values<QVariant> levels(thresholds, to->channels, "thresholds");
    Values<QVariant> replacements(values, to->channels, "values");
    return withoutGil([&] { return ThresholdGT(to, levels.get(), replacements.get(), fourChannelRule); });
}

template <ResultCode (*operation)(const SxImageBuf&, SxImageBuf&, QVariant*)>
ResultCode combine(const ArrayImage& src, const ArrayImage& dst, const py::object& value)
{
    const Source from(src);
    Destination to(dst);
    QVariant set = value.is_none() ? QVariant() : variantOf(value);
    return withoutGil([&] { return operation(from, to, value.is_none() ? nullptr : &set); });
}

}  // namespace

void definePixel(py::module_& module)
{
    module.def("ThresholdBinary", &thresholdInPlace, py::arg("image"), py::arg("threshold"), py::arg("low"),
               py::arg("high"));
    module.def("ThresholdBinary", &threshold, py::arg("src"), py::arg("dst"), py::arg("thresholds"),
               py::arg("lows"), py::arg("highs"));
    module.def("ThresholdBinaryMasked", &thresholdMasked, py::arg("src"), py::arg("mask"), py::arg("dst"),
               py::arg("thresholds"), py::arg("lows"), py::arg("highs"));
    module.def("ThresholdBinaryGT", &thresholdAbove, py::arg("src"), py::arg("dst"), py::arg("thresholds"),
               py::arg("highs"), py::arg("fourChannelRule"));
    module.def("ThresholdGT", &replaceBelow, py::arg("image"), py::arg("thresholds"), py::arg("values"),
               py::arg("fourChannelRule"));
    module.def("And", &combine<And>, py::arg("src"), py::arg("dst"), py::arg("value"));
    module.def("Or", &combine<Or>, py::arg("src"), py::arg("dst"), py::arg("value"));
    module.def("Xor", &combine<Xor>, py::arg("src"), py::arg("dst"), py::arg("value"));
    define(module, "ClampToColorDepth", &ClampToColorDepth, {"image"});
}

}  // namespace ko::python
