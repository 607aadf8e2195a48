#include "binding.h"
#include "fill.h"

#include <ko/masks.h>

namespace ko::python {

namespace {

using Margins = ResultCode (*)(const SxImageBuf&, SxImageBuf&, int, int, int, int);

/// An operation that makes a larger image of an image.
template <Margins operation>
ResultCode enlarge(const ArrayImage& src, ArrayImage& dst, int left, int top, int right, int bottom)
{
    const Source from(src);
    return fill(dst, [&](SxImageBuf& record) { return operation(from, record, left, top, right, bottom); });
}

ResultCode ellipseOfColours(ArrayImage& out, int a, int b, double angle, const py::object& background,
                            const py::object& foreground)
{
    Values<unsigned char> outside(background, 3, "background");
    Values<unsigned char> inside(foreground, 3, "foreground");
    return fill(out, [&](SxImageBuf& record) {
        return EllipseMaskRgb(record, a, b, angle, outside.get(), inside.get());
    });
}

py::tuple circleMask(int size)
{
    const unsigned char* bytes = nullptr;
    if (!GetCircleMaskByte(size, &bytes))
        return py::make_tuple(false, py::none());
    // The memory is constant and stays; an owner keeps NumPy from copying it.
    const py::capsule owner(bytes, [](void*) {});
    py::array_t<std::uint8_t> mask({size, size}, bytes, owner);
    mask.attr("setflags")(py::arg("write") = false);
    return py::make_tuple(true, mask);
}

}  // namespace

void defineMasks(py::module_& module)
{
    define(module, "Binarize", &Binarize, {"src", "dst", "value"});
    module.def(
        "AllocSafeBorderImage",
        [](const SxImageInfo& info, ArrayImage& dst, int left, int top, int right, int bottom) {
            const SxImageInfo format = info;
            return fill(dst, [&](SxImageBuf& record) {
                return AllocSafeBorderImage(format, record, left, top, right, bottom);
            });
        },
        py::arg("info"), py::arg("dst"), py::arg("left"), py::arg("top"), py::arg("right"),
        py::arg("bottom"));
    module.def("InitSafeBorder", &enlarge<InitSafeBorder>, py::arg("src"), py::arg("dst"), py::arg("left"),
               py::arg("top"), py::arg("right"), py::arg("bottom"));
    define(module, "CreateImageWithMirroredBorder",
           overload<const SxImageBuf&, SxImageBuf&, int, int, int, int>(CreateImageWithMirroredBorder),
           {"src", "dst", "left", "top", "right", "bottom"});
    define(module, "CreateImageWithMirroredBorder",
           overload<const SxImageBuf&, const QRect&, SxImageBuf&, int, int, int, int>(
               CreateImageWithMirroredBorder),
           {"src", "roi", "dst", "left", "top", "right", "bottom"});
    module.def("AllocAndCreateMirroredBorderImage", &enlarge<AllocAndCreateMirroredBorderImage>,
               py::arg("src"), py::arg("dst"), py::arg("left"), py::arg("top"), py::arg("right"),
               py::arg("bottom"));

    module.def(
        "MaskImage",
        [](const ArrayImage& image, const ArrayImage& mask) {
            if (image.packing == Planar && image.channels > 1)
                needAllBytes(image, "image");
            Destination to(image);
            const Source selecting(mask);
            return withoutGil([&] { return MaskImage(to, selecting); });
        },
        py::arg("image"), py::arg("mask"));
    module.def(
        "SetValueMasked",
        [](const ArrayImage& image, const ArrayImage& mask, const QPoint& pos, const py::object& value) {
            Destination to(image);
            const Source selecting(mask);
            const QVariant sample = variantOf(value);
            return withoutGil([&] { return SetValueMasked(to, selecting, pos, sample); });
        },
        py::arg("image"), py::arg("mask"), py::arg("pos"), py::arg("value"));
    module.def(
        "BinaryMask",
        [](const ArrayImage& src, const ArrayImage& mask, unsigned value) {
            needAllBytes(src, "src");
            const Source from(src);
            Destination to(mask);
            return withoutGil([&] { return BinaryMask(from, to, value); });
        },
        py::arg("src"), py::arg("mask"), py::arg("value"));
    module.def(
        "EllipseMaskMono",
        [](ArrayImage& out, int a, int b, double angle, unsigned char background, unsigned char foreground) {
            return fill(out, [&](SxImageBuf& record) {
                return EllipseMaskMono(record, a, b, angle, background, foreground);
            });
        },
        py::arg("out"), py::arg("a"), py::arg("b"), py::arg("angle"), py::arg("background"),
        py::arg("foreground"));
    module.def("EllipseMaskRgb", &ellipseOfColours, py::arg("out"), py::arg("a"), py::arg("b"),
               py::arg("angle"), py::arg("background"), py::arg("foreground"));
    module.def("GetCircleMaskByte", &circleMask, py::arg("size"));
}

}  // namespace ko::python
