#include "binding.h"
#include "fill.h"

#include <ko/bayer.h>
#include <ko/result.h>

namespace ko::python {

namespace {

ResultCode copyBytes(const py::buffer& dst, const py::buffer& src, std::uint64_t bytes, std::uint64_t dstTag,
                     std::uint64_t srcTag)
{
    const Bytes to(dst, true, bytes);
    const Bytes from(src, false, bytes);
    return withoutGil([&] { return MemCpy(to.data(), from.data(), bytes, dstTag, srcTag); });
}

}  // namespace

void defineCore(py::module_& module)
{
    module.def("isFailure", &isFailure, py::arg("code"));
    module.def("argumentOf", &argumentOf, py::arg("code"));
    module.def("toString", &toString, py::arg("code"));

    module.def("bytesPerSample", &bytesPerSample, py::arg("dataType"));
    module.def("imageByteSize", &imageByteSize, py::arg("info"));
    module.def(
        "AllocBuffer",
        [](ArrayImage& out, int width, int height, int channels, ExImageDataType type, int stride, int bits,
           ExPixelPacking packing, bool flag, ExPixelCompression compression) {
            return fill(out, [&](SxImageBuf& record) {
                return AllocBuffer(record, width, height, channels, type, stride, bits, packing, flag,
                                   compression);
            });
        },
        py::arg("out"), py::arg("width"), py::arg("height"), py::arg("channels"), py::arg("dataType"),
        py::arg("stride"), py::arg("bitsPerSample"), py::arg("packing"), py::arg("flag"),
        py::arg("compression"));
    module.def(
        "AllocBuffer",
        [](const SxImageInfo& info, ArrayImage& out, bool flag) {
            const SxImageInfo format = info;
            return fill(out, [&](SxImageBuf& record) { return AllocBuffer(format, record, flag); });
        },
        py::arg("info"), py::arg("out"), py::arg("flag"));
    module.def(
        "FreeBuffer",
        [](ArrayImage& image) {
            SxImageBuf record = image;
            FreeBuffer(record);
            image = ArrayImage(record, py::object(), true);
        },
        py::arg("image"));
    define(module, "CopyBuffer", &CopyBuffer, {"src", "srcRect", "dst", "dstPos", "flag"});
    module.def("MemCpy", &copyBytes, py::arg("dst"), py::arg("src"), py::arg("bytes"), py::arg("dstTag"),
               py::arg("srcTag"));
    define(module, "CopyChannel", &CopyChannel, {"src", "srcChannel", "dst", "dstChannel"});
    define(module, "ChannelIndexLogicalToPhysical", &ChannelIndexLogicalToPhysical, {"channel", "image"});
    define(module, "L2CacheSize", &L2CacheSize, {});

    define(module, "ConvertRawToPlanarRaw", &ConvertRawToPlanarRaw, {"src", "roi", "grid", "planar"});
    define(module, "DemosaicSimple", &DemosaicSimple, {"src", "rect", "dst", "grid"});
}

}  // namespace ko::python
